#ifndef TESTS_SUPPORT_MAC_H
#define TESTS_SUPPORT_MAC_H

// MAC addresses in the tests: an interface's, and the text the simulator's log writes.

#include <string>

// The address of interface iIfName, through the product's own lookup; false if it has none.
bool MacOf(const char* iIfName, unsigned char* oMac);

// "02:ce:5e:00:00:01": lower case, colons.
std::string MacText(const unsigned char* iMac);

#endif
