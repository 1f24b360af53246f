// Filter texts through both parsers and the attribute filter's own; each result is written
// again and every item it holds must be a usable condition.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "apiMgmt/apiStub/apiSdk/objects/APIScController.h"
#include "apiMgmt/apiStub/base/apiObjects/base/getListFilter.h"

namespace {

void Check(bool iCondition) {
    if (!iCondition)
        abort();
}

void Items(const GETListFilter& iFilter) {
    for (const APIAttributeFilter& f : iFilter.GetFiltersAttributes()) {
        Check(f.GetFilterType() != FILTERType_Invalid && f.GetFilterType() != FILTERType_None);
        Check(f.GetAttrName().find(' ') == std::string::npos);
    }
    volatile size_t sink = iFilter.ToString().size();
    (void)sink;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    GETListFilter list = GETListFilter::Parse(text);
    Items(list);
    Check(list.GetFilterCount() == 0 || list.GetFilterType() != GETListFilterType_None);
    std::unique_ptr<GETListFilter> attr(
        APIScController::APIScControllerGetListMethod::GetFilterAttr()->ParseString(text));
    if (attr)
        Items(*attr);
    APIAttributeFilter one = APIAttributeFilter::Parse(text);
    volatile size_t sink = one.ToString().size();
    (void)sink;
    // The objects a filter selects from: the same text as a value of every attribute kind.
    APIScController c;
    for (const BASEApiAttribute* a : c.GetAttributeList())
        for (const APIAttributeFilter& f : list.GetFiltersAttributes())
            sink += a->ApplyFilter(f, text);
    return 0;
}
