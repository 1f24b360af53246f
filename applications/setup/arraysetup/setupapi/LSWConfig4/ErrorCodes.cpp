#include "LSWConfig4/LSWConfigModel.h"

// Built with the other globals, before main.
std::map<int, std::string> CErrorCodes::errorMap = CErrorCodes::CreateErrorMap();

std::map<int, std::string> CErrorCodes::CreateErrorMap() {
    std::map<int, std::string> m;
    m[1000] = "Error initializing.";
    m[1001] = "Error creating LSWConfig instance.";
    m[1002] = "Unknown exception occurred.";
    m[1003] = "PacketCapture library intialization failed.";
    m[1004] = "Cannot locate discovery network adapter.";
    m[1005] = "Failed to set the Pcap filter.";
    m[1006] = "Failed to send the frame through Pcap library.";
    m[1007] = "Uninitialized adapters, cannot run discovery.";
    m[1008] = "Exception occurred while discovering arrays.";
    m[1009] = "Exception occurred while discovering controllers.";
    m[1010] = "Controller not found.";
    m[1011] = "Array not found.";
    m[1012] = "Controller already initialized.";
    m[1013] = "Array is in invalid state.";
    m[1014] = "Controller validation failed.";
    m[1017] = "Invalid blink request code.";
    m[1018] = "Controller ID Index/Hardware SN missing.";
    m[1019] = "Empty Service Tag.";
    m[1020] = "Invalid/Missing Ipv4[%s] Management Address for controller %s.";
    m[1021] = "Invalid IP[%s] for Management Address for controller %s.";
    m[1022] = "Invalid/Missing Ipv4[%s] Controller Address for %s.";
    m[1023] = "Invalid IP[%s] for Controller %s.";
    m[1024] = "Invalid/Missing Netmask IP[%s] for controller %s.";
    m[1025] = "Invalid Netmask IP[%s] for controller %s";
    m[1026] = "Invalid/Missing Gateway IP[%s] for controller %s.";
    m[1027] = "Invalid Gateway IP[%s] for controller %s.";
    m[1028] =
        "Invalid Network configuration for controller %s. Check if the Management Address is the "
        "same as Controller IP Address or Gateway IP. Also Management address should be on the "
        "same subnet as the Controller.";
    m[1029] = "Primary[%s] and Secondary[%s] DNS cannot be the same.";
    m[1030] = "Mismatched Management IPv4 addresses for both controllers[%s] - [%s].";
    m[1031] = "Identical Controller IPv4 Addresses [%s] - [%s].";
    m[1032] = "Mismatched Netmask fields [%s] - [%s].";
    m[1033] = "Mismatched Gateway fields [%s] - [%s].";
    m[1034] = "Controller [%s] is not Primary. Try the request on Primary controller.";
    return m;
}
