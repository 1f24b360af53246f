#ifndef TESTS_SUPPORT_FUZZWALK_H
#define TESTS_SUPPORT_FUZZWALK_H

// What the fuzz targets share: a check that aborts, so that libFuzzer keeps the input, a
// start that keeps the tracer quiet, and walkers that touch every byte and index a reader
// offers.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "LSWConfig4/SetupTLV.h"
#include "LSWConfig4/tlvUtils.h"
#include "support/QuietTracer.h"

void FuzzCheck(bool iCondition);

// A target's start: millions of inputs write no trace lines.
#define FUZZ_QUIET_START                                 \
    extern "C" int LLVMFuzzerInitialize(int*, char***) { \
        return QuietTracer(), 0;                         \
    }

// Input bytes in a heap block of their own size, so that any read past them is caught.
struct FuzzValue {
    FuzzValue(const uint8_t* iData, size_t iSize) : bytes(iData, iData + iSize) {}
    const char* data() const { return bytes.empty() ? nullptr : bytes.data(); }
    size_t size() const { return bytes.size(); }
    std::vector<char> bytes;
};

// Every entry of a block stays inside its allocation, the walk ends, and the checksum reads
// only what is there.
void WalkTlv(const SETUPTlv& iTlv);

// Every index of the port tree's readers; a count never promises a port that is not held.
void WalkPort(const PORTDataReader* iPort);
void WalkFaultDomain(const FAULTDomainDataReader* iDomain);
void WalkController(const CONTROLLERPortDataReader* iController);
void WalkPortTree(const SCPortConfigDataReader* iTree);

#endif
