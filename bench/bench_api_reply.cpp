// The reply road of the API client: ProcessResponse on a reply of about 5 MB holding a
// ReturnObjectArray of controllers, beside expat's own parse of the same document in the
// same run, with the peak memory it takes; and one GetFilteredObjectFromList round trip
// against apimgrsim over its socket.
#include <benchmark/benchmark.h>
#include <expat.h>
#include <signal.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include "apiMgmt/proto/apiMgrMsg.pb.h"
#include "applications/setup/arrayinitd/apiObjectHandler.h"
#include "support/ApimgrsimProcess.h"

namespace {

using Clock = std::chrono::steady_clock;
using GetList = APIScController::APIScControllerGetListMethod;

// A controller element as the manager writes one: 44 attributes.
std::string Controller(size_t iIndex) {
    APIScController c;
    const std::string n = std::to_string(iIndex);
    for (const BASEApiAttribute* a : c.GetAttributeList())
        c.PutStringDirect(a->GetName(), a->GetName() == "ObjectType" ? "ScController" : "v" + n,
                          true);
    c.SetHardwareSerialNumber(6000000 + static_cast<int64>(iIndex));
    c.SetIpAddress("10.0." + std::to_string(iIndex / 250 % 250) + "." +
                   std::to_string(iIndex % 250));
    return c.ToString();
}

const std::string& Document() {
    static const std::string doc = [] {
        std::string d =
            "<quillapi><ApiMethodReturn><Successful>True</Successful></ApiMethodReturn>"
            "<ReturnObjectArray>";
        for (size_t i = 0; d.size() < 5000000; ++i)
            d += Controller(i);
        return d + "</ReturnObjectArray></quillapi>";
    }();
    return doc;
}

protoIPCMsg::GPBIPCMsg MakeReply() {
    protoIPCMsg::GPBIPCMsg m;
    m.set_msgtype(protoIPCMsg::APIResp);
    m.mutable_apirespmsg()->set_cmdtype(protoIPCMsg::Command);
    m.mutable_apirespmsg()->mutable_cmd()->set_respdata(Document());
    return m;
}

double ExpatSeconds(const std::string& iDoc) {
    auto t0 = Clock::now();
    XML_Parser p = XML_ParserCreate(nullptr);
    if (XML_Parse(p, iDoc.data(), static_cast<int>(iDoc.size()), XML_TRUE) != XML_STATUS_OK)
        abort();
    XML_ParserFree(p);
    return std::chrono::duration<double>(Clock::now() - t0).count();
}

long StatusKb(const char* iField) {
    std::ifstream in("/proc/self/status");
    std::string line;
    while (std::getline(in, line))
        if (line.compare(0, strlen(iField), iField) == 0)
            return atol(line.c_str() + strlen(iField) + 1);
    return -1;
}

// The resident memory the parse adds at its peak: the kernel's high-water mark is reset
// just before it (clear_refs 5) and read just after.
double PeakMultiple(const protoIPCMsg::GPBIPCMsg& iReply) {
    GetList method;
    const long base = StatusKb("VmRSS:");
    { std::ofstream("/proc/self/clear_refs") << "5"; }
    std::unique_ptr<BASEApiMethodReturn> r(method.ProcessResponse(iReply));
    const long peak = StatusKb("VmHWM:");
    if (!r || base < 0 || peak < 0)
        return -1;
    return static_cast<double>(peak - base) * 1024.0 / static_cast<double>(Document().size());
}

void BM_ProcessResponse5MB(benchmark::State& state) {
    const protoIPCMsg::GPBIPCMsg reply = MakeReply();
    const double peak = PeakMultiple(reply);
    GetList method;
    double expat = 0, ours = 0;
    size_t objects = 0;
    for (auto _ : state) {
        expat += ExpatSeconds(Document());
        auto t0 = Clock::now();
        std::unique_ptr<BASEApiMethodReturn> r(method.ProcessResponse(reply));
        const double s = std::chrono::duration<double>(Clock::now() - t0).count();
        ours += s;
        state.SetIterationTime(s);
        objects = static_cast<COMPObjectMethodReturn*>(r.get())->GetObjects().size();
    }
    state.counters["doc_MB"] = static_cast<double>(Document().size()) / 1e6;
    state.counters["objects"] = static_cast<double>(objects);
    state.counters["expat_ms"] = expat * 1e3 / static_cast<double>(state.iterations());
    state.counters["ratio_to_expat"] = ours / expat;
    state.counters["peak_mem_x_doc"] = peak;
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * Document().size()));
}
BENCHMARK(BM_ProcessResponse5MB)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(10);

void BM_GetFilteredObjectFromList(benchmark::State& state) {
    std::string ini;
    for (int i = 0; i < 2; ++i)
        ini += "[controller c" + std::to_string(i) +
               "]\nhardware_serial_number = " + std::to_string(6000123 + i) +
               "\nname = Controller-" + std::to_string(i) + "\n";
    ApimgrsimProcess sim(APIMGRSIM_BINARY, ini);
    if (!sim.WaitReady()) {
        state.SkipWithError("apimgrsim did not start");
        return;
    }
    GPBComEndpoint endpoint = GPBComEndpoint::CreateLocalEndpoint(sim.SocketPath(), 5, 5242880);
    BASEApiMethod::SetAPIManagerEndpoint(&endpoint);
    GPBComEndpoint::SetAccessKeyPath(sim.KeyFile());
    APIObjectHandler<const APIScController*, GetList> handler;
    for (auto _ : state) {
        const APIScController* c = handler.GetFilteredObjectFromList(
            APIScController::GetHardwareSerialNumberAttr(), "6000124");
        if (!c) {
            state.SkipWithError("no controller");
            break;
        }
        benchmark::DoNotOptimize(c);
    }
    BASEApiMethod::SetAPIManagerEndpoint(nullptr);
    GPBComEndpoint::SetAccessKeyPath("");
    sim.Stop(SIGTERM);
}
BENCHMARK(BM_GetFilteredObjectFromList)
    ->Unit(benchmark::kMicrosecond)
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
