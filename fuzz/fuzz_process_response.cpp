// A reply of the API manager, as hostile as a frame: the first byte chooses what is wrong with
// the message around the document, the rest is the document. Every result is then encoded
// again, which walks every object the parser made.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "apiMgmt/apiStub/apiSdk/objects/APIScController.h"
#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethodReturn.h"
#include "apiMgmt/proto/apiMgrMsg.pb.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1)
        return 0;
    const uint8_t mode = data[0];
    protoIPCMsg::GPBIPCMsg reply;
    reply.set_msgtype(mode & 1 ? protoIPCMsg::CAResp : protoIPCMsg::APIResp);
    if (!(mode & 2)) {
        protoIPCMsg::APIRespMsg* resp = reply.mutable_apirespmsg();
        resp->set_cmdtype(mode & 4 ? protoIPCMsg::Ping : protoIPCMsg::Command);
        if (!(mode & 8))
            resp->mutable_cmd()->set_respdata(
                std::string(reinterpret_cast<const char*>(data) + 1, size - 1));
    }
    APIScController::APIScControllerGetListMethod method;
    std::unique_ptr<BASEApiMethodReturn> r(method.ProcessResponse(reply));
    if (!r)
        return 0;
    volatile size_t sink = r->ToString(ObjectReturnEncodeEnum_Xml).size();
    sink += r->ToString(ObjectReturnEncodeEnum_Csv).size();
    if (const ENUMMaskMethodReturn* mask = dynamic_cast<const ENUMMaskMethodReturn*>(r.get())) {
        std::string name;
        sink += mask->GetEnumList(name).size();
    }
    (void)sink;
    return 0;
}
