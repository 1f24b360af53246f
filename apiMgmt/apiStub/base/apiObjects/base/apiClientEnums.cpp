#include "apiMgmt/apiStub/base/apiObjects/base/apiClientEnums.h"

#include <cstdlib>

#define ROW(type, name, display) \
    { type##_##name, #name, display }

const ENUMIDStrItem APIEnumsIDStrList::gErrorStateEnumIdStrList[] = {
    ROW(ErrorStateEnum, None, "None"),
    ROW(ErrorStateEnum, HostNotAvailable, "Host Not Available"),
    ROW(ErrorStateEnum, LoginError, "Login Error"),
    ROW(ErrorStateEnum, ParsingError, "Parsing Error"),
    ROW(ErrorStateEnum, ObjectNotAvailable, "Object Not Available"),
    ROW(ErrorStateEnum, MethodNotAvailable, "Method Not Available"),
    ROW(ErrorStateEnum, NotConnected, "Not Connected"),
    ROW(ErrorStateEnum, IllegalSessionKey, "Illegal Session Key"),
    ROW(ErrorStateEnum, InvalidStorageCell, "Invalid Storage Cell"),
    ROW(ErrorStateEnum, StorageCellError, "Storage Cell Error"),
    ROW(ErrorStateEnum, UserPrivilegeError, "User Privilege Error"),
    ROW(ErrorStateEnum, ServerAgentError, "Server Agent Error"),
    ROW(ErrorStateEnum, ServerAgentConnectionError, "Server Agent Connection Error"),
    ROW(ErrorStateEnum, UserRightError, "User Right Error"),
    ROW(ErrorStateEnum, SpaceRecoveryError, "Space Recovery Error"),
    ROW(ErrorStateEnum, NotLicensed, "Not Licensed"),
    ROW(ErrorStateEnum, IncompatibleVersions, "Incompatible Versions"),
    ROW(ErrorStateEnum, ReportingFilterError, "Reporting Filter Error"),
    ROW(ErrorStateEnum, LegacyBrookFsError, "Legacy Brook FS Error"),
    ROW(ErrorStateEnum, LegacyBrookFsCommunicationError, "Legacy Brook FS Communication Error"),
    ROW(ErrorStateEnum, LegacyBrookFsDataCollectorRegistrationError,
        "Legacy Brook FS Data Collector Registration Error"),
    ROW(ErrorStateEnum, ChargebackError, "Chargeback Error"),
    ROW(ErrorStateEnum, ReportingError, "Reporting Error"),
    ROW(ErrorStateEnum, DataCollectorError, "Data Collector Error"),
    ROW(ErrorStateEnum, InvalidValue, "Invalid Value"),
    ROW(ErrorStateEnum, PhoneHomeError, "Phone Home Error"),
    ROW(ErrorStateEnum, AutomatedReportError, "Automated Report Error"),
    ROW(ErrorStateEnum, RemoteDataCollectorError, "Remote Data Collector Error"),
    ROW(ErrorStateEnum, StorageCellUnknown, "Storage Cell Unknown"),
    ROW(ErrorStateEnum, InvalidArguments, "Invalid Arguments"),
    ROW(ErrorStateEnum, DirectoryServicesError, "Directory Services Error"),
    ROW(ErrorStateEnum, BrookCacheError, "Brook Cache Error"),
    ROW(ErrorStateEnum, BrookCacheAlreadyExists, "Brook Cache Already Exists"),
    ROW(ErrorStateEnum, LanguageNotSupported, "Language Not Supported"),
    ROW(ErrorStateEnum, StorageCellUpdateServerConnectionError,
        "Storage Cell Update Server Connection Error"),
    ROW(ErrorStateEnum, BrookFsConfirmationRequired, "Brook FS Confirmation Required"),
    ROW(ErrorStateEnum, WsdlAccessFailed, "WSDL Access Failed"),
    ROW(ErrorStateEnum, ExpectedError, "Expected Error"),
    ROW(ErrorStateEnum, PortableVolumeNodeError, "Portable Volume Node Error"),
    ROW(ErrorStateEnum, OutOfMemory, "Out Of Memory"),
    ROW(ErrorStateEnum, ScriptFileError, "Script File Error"),
    ROW(ErrorStateEnum, AuthorizationError, "Authorization Error"),
    ROW(ErrorStateEnum, InvalidPadding, "Invalid Padding"),
    ROW(ErrorStateEnum, ConnectionTimedOut, "Connection Timed Out"),
    ROW(ErrorStateEnum, HandshakeError, "Handshake Error"),
    ROW(ErrorStateEnum, ConnectionRefused, "Connection Refused"),
};
const int APIEnumsIDStrList::gErrorStateEnumCount =
    sizeof(gErrorStateEnumIdStrList) / sizeof(gErrorStateEnumIdStrList[0]);

const ENUMIDStrItem APIEnumsIDStrList::gUserPrivilegeEnumIdStrList[] = {
    ROW(UserPrivilegeEnum, Admin, "Admin"),
    ROW(UserPrivilegeEnum, VolumeManager, "Volume Manager"),
    ROW(UserPrivilegeEnum, Reporter, "Reporter"),
};
const int APIEnumsIDStrList::gUserPrivilegeEnumCount = 3;

const ENUMIDStrItem APIEnumsIDStrList::gObjectReturnEncodeEnumIdStrList[] = {
    ROW(ObjectReturnEncodeEnum, Xml, "XML"),
    ROW(ObjectReturnEncodeEnum, Csv, "CSV"),
};
const int APIEnumsIDStrList::gObjectReturnEncodeEnumCount = 2;

const ENUMIDStrItem APIEnumsIDStrList::gStorageCellOperationModeEnumIdStrList[] = {
    ROW(StorageCellOperationModeEnum, Normal, "Normal"),
    ROW(StorageCellOperationModeEnum, Maintenance, "Maintenance"),
    ROW(StorageCellOperationModeEnum, Install, "Install"),
    ROW(StorageCellOperationModeEnum, PreProduction, "Pre-Production"),
};
const int APIEnumsIDStrList::gStorageCellOperationModeEnumCount = 4;

std::string ENUMIDStrItem::GetXmlStr() const {
    return "<Value>" + std::to_string(idVal) + "</Value><Description>" + strVal +
           "</Description><UiString>" + displayStr + "</UiString>";
}

int APIEnumsIDStrList::Lookup(const ENUMIDStrItem* iRows, int iCount, const std::string& iText,
                              int iUnknown) {
    if (iText.empty())
        return iUnknown;
    const bool numeric = STRINGUtil::IsNumeric(iText);
    const int number = numeric ? atoi(iText.c_str()) : 0;
    for (int i = 0; i < iCount; ++i)
        if ((numeric && iRows[i].idVal == number) ||
            STRINGUtil::Comparecase(iText, iRows[i].strVal) == 0)
            return iRows[i].idVal;
    return iUnknown;
}

const std::string* APIEnumsIDStrList::TextOf(const ENUMIDStrItem* iRows, int iCount, int iId) {
    for (int i = 0; i < iCount; ++i)
        if (iRows[i].idVal == iId)
            return &iRows[i].strVal;
    return nullptr;
}
