#include "apiMgmt/apiStub/base/apiObjects/types/versionObject.h"

#include <algorithm>
#include <cctype>
#include <vector>

#include "apiMgmt/common/utils/stringUtil.h"

namespace {

int16_t Clamp(long long iValue, int iMax) {
    return static_cast<int16_t>(
        std::min<long long>(std::max<long long>(iValue, MIN_VERSION), iMax));
}

// A piece reads as a 16-bit number: what isn't one reads as 0, what is too large saturates.
int ReadPart(const std::string& iPiece) {
    std::istringstream in(iPiece);
    int16_t value = 0;
    in >> value;
    return value;
}

}  // namespace

VERSIONObject::VERSIONObject(int iMajor, int iMinor) : VERSIONObject(iMajor, iMinor, 0, 0, 0) {}

VERSIONObject::VERSIONObject(int iMajor, int iMinor, int iPatch, int iBuild)
    : VERSIONObject(iMajor, iMinor, iPatch, iBuild, 0) {}

VERSIONObject::VERSIONObject(int iMajor, int iMinor, int iPatch, int iBuild, int iSuperPackRev) {
    SetMajorV(iMajor);
    SetMinorV(iMinor);
    SetPatch(iPatch);
    SetBuild(iBuild);
    SetSuperPackRev(iSuperPackRev);
}

void VERSIONObject::SetMajorV(int iValue) {
    majorV = Clamp(iValue, MAX_MAJORVERSION);
}
void VERSIONObject::SetMinorV(int iValue) {
    minorV = Clamp(iValue, MAX_MINORVERSION);
}
void VERSIONObject::SetPatch(int iValue) {
    patch = Clamp(iValue, MAX_PATCHVERSION);
}
void VERSIONObject::SetBuild(int iValue) {
    build = Clamp(iValue, MAX_BUILDVERSION);
}
void VERSIONObject::SetSuperPackRev(int iValue) {
    superPackRev = Clamp(iValue, MAX_ENGVERSION);
}

void VERSIONObject::ValidateAndClamp() {
    majorV = Clamp(majorV, MAX_MAJORVERSION);
    minorV = Clamp(minorV, MAX_MINORVERSION);
    patch = Clamp(patch, MAX_PATCHVERSION);
    build = Clamp(build, MAX_BUILDVERSION);
    superPackRev = Clamp(superPackRev, MAX_ENGVERSION);
}

std::string VERSIONObject::ToString() const {
    return STRINGUtil::FormatStr("%02u.%02u.%02u.%03u", static_cast<unsigned>(majorV),
                                 static_cast<unsigned>(minorV), static_cast<unsigned>(patch),
                                 static_cast<unsigned>(build));
}

std::string VERSIONObject::ToFullString() const {
    return STRINGUtil::FormatStr("%02u.%02u.%02u.%03u.%02u", static_cast<unsigned>(majorV),
                                 static_cast<unsigned>(minorV), static_cast<unsigned>(patch),
                                 static_cast<unsigned>(build), static_cast<unsigned>(superPackRev));
}

uint64_t VERSIONObject::GetVersionLong() const {
    return static_cast<uint64_t>(majorV) * 10000000000000ULL +
           static_cast<uint64_t>(minorV) * 100000000000ULL +
           static_cast<uint64_t>(patch) * 1000000000ULL +
           static_cast<uint64_t>(build) * 1000000ULL + static_cast<uint64_t>(superPackRev);
}

void VERSIONObject::Parse(const std::string& iText) {
    *this = VERSIONObject();
    std::string text = iText;
    STRINGUtil::Trim(text);
    size_t digit = 0;
    while (digit < text.size() && !isdigit(static_cast<unsigned char>(text[digit]))) {
        ++digit;
    }
    text.erase(0, digit);
    if (text.empty()) {
        return;
    }
    std::vector<std::string> pieces;
    STRINGUtil::SplitString(text, '.', pieces);
    void (VERSIONObject::*setters[])(int) = {&VERSIONObject::SetMajorV, &VERSIONObject::SetMinorV,
                                             &VERSIONObject::SetPatch, &VERSIONObject::SetBuild,
                                             &VERSIONObject::SetSuperPackRev};
    for (size_t i = 0; i < pieces.size() && i < 5; ++i) {
        (this->*setters[i])(ReadPart(pieces[i]));
    }
    ValidateAndClamp();
}
