#include "apiMgmt/apiStub/base/apiObjects/types/enumIdStrItem.h"

#include "apiMgmt/common/utils/stringUtil.h"

std::string ENUMIDStrItem::GetXmlStr() const {
    // Texts such as "<=" are escaped so the element stays well formed.
    return "<Value>" + std::to_string(idVal) + "</Value><Description>" +
           STRINGUtil::EscapeString(strVal, false) + "</Description><UiString>" +
           STRINGUtil::EscapeString(displayStr, false) + "</UiString>";
}
