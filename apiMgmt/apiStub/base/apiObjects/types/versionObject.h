#ifndef APIMGMT_APISTUB_BASE_APIOBJECTS_TYPES_VERSIONOBJECT_H
#define APIMGMT_APISTUB_BASE_APIOBJECTS_TYPES_VERSIONOBJECT_H

#include <cstdint>
#include <string>

#define MIN_VERSION 0
#define MAX_MAJORVERSION 99
#define MAX_MINORVERSION 99
#define MAX_PATCHVERSION 999
#define MAX_BUILDVERSION 9999
#define MAX_ENGVERSION 99

// A five-part version; every part is clamped silently into its range on the way in.
class VERSIONObject {
public:
    VERSIONObject() = default;
    VERSIONObject(int iMajor, int iMinor);
    VERSIONObject(int iMajor, int iMinor, int iPatch, int iBuild);
    VERSIONObject(int iMajor, int iMinor, int iPatch, int iBuild, int iSuperPackRev);

    void SetMajorV(int iValue);
    void SetMinorV(int iValue);
    void SetPatch(int iValue);
    void SetBuild(int iValue);
    void SetSuperPackRev(int iValue);
    int16_t GetMajorV() const { return majorV; }
    int16_t GetMinorV() const { return minorV; }
    int16_t GetPatch() const { return patch; }
    int16_t GetBuild() const { return build; }
    int16_t GetSuperPackRev() const { return superPackRev; }

    // "%02u.%02u.%02u.%03u", and with the fifth part ".%02u".
    std::string ToString() const;
    std::string ToFullString() const;
    // One number that orders versions part by part.
    uint64_t GetVersionLong() const;
    // Anything before the first digit is dropped; one to five "."-separated parts fill from the
    // major part on.
    void Parse(const std::string& iText);

    bool operator==(const VERSIONObject& iOther) const {
        return GetVersionLong() == iOther.GetVersionLong();
    }

private:
    void ValidateAndClamp();

    int16_t majorV = 0;
    int16_t minorV = 0;
    int16_t patch = 0;
    int16_t build = 0;
    int16_t superPackRev = 0;
};

#endif
