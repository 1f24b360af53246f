#ifndef APIMGMT_APISTUB_BASE_APIOBJECTS_TYPES_ENUMIDSTRITEM_H
#define APIMGMT_APISTUB_BASE_APIOBJECTS_TYPES_ENUMIDSTRITEM_H

#include <string>

// One row of an enumeration table: the number, the text on the wire, the text for display.
struct ENUMIDStrItem {
    ENUMIDStrItem(int iId, const std::string& iStr, const std::string& iDisplay)
        : idVal(iId), strVal(iStr), displayStr(iDisplay) {}

    // <Value>id</Value><Description>text</Description><UiString>display</UiString>
    std::string GetXmlStr() const;

    int idVal;
    std::string strVal;
    std::string displayStr;
};

#endif
