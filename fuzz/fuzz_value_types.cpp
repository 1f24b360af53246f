// Arbitrary text through the parsers of the value types and back out through their text forms.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "apiMgmt/apiStub/base/apiObjects/types/dateTimeObject.h"
#include "apiMgmt/apiStub/base/apiObjects/types/storageSize.h"
#include "apiMgmt/apiStub/base/apiObjects/types/versionObject.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* iData, size_t iSize) {
    std::string text(reinterpret_cast<const char*>(iData), iSize);

    VERSIONObject version;
    version.Parse(text);
    if (version.ToFullString().size() > 20 || version.GetVersionLong() > 1000908999000099ULL)
        abort();

    STORAGESize size(12345);
    size.Parse(text);
    for (bool manu : {false, true}) {
        size.SetManu(manu);
        size.DisplayString();
        size.ToString();
    }

    DATETimeObject time(text);
    time.ToString();
    time.FormatAs(ALT_DATETIME_FORMATSTR);
    time.GetMinutesElapsedOfTheDay();
    return 0;
}
