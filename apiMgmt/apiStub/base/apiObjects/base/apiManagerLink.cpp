// The road of one call to the API manager: a new connection, one request, one reply.
#include <memory>
#include <mutex>

#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethod.h"
#include "apiMgmt/common/utils/generalUtils.h"
#include "apiMgmt/proto/apiMgrMsg.pb.h"
#include "gpbcom/gpbcom.h"

namespace {

std::mutex g_EndpointLock;
std::unique_ptr<GPBComEndpoint> g_Endpoint;

}  // namespace

void BASEApiMethod::SetAPIManagerEndpoint(const GPBComEndpoint* iEndpoint) {
    std::lock_guard<std::mutex> hold(g_EndpointLock);
    g_Endpoint.reset(iEndpoint ? new GPBComEndpoint(*iEndpoint) : nullptr);
}

void BASEApiMethod::SendRequestToAPIManager(const protoIPCMsg::GPBIPCMsg& iRequest,
                                            protoIPCMsg::GPBIPCMsg& oReply) const {
    std::unique_ptr<GPBComEndpoint> endpoint;
    {
        std::lock_guard<std::mutex> hold(g_EndpointLock);
        if (g_Endpoint)
            endpoint.reset(new GPBComEndpoint(*g_Endpoint));
    }
    GPBComClient client(endpoint ? *endpoint : GENERALUtils::GetEndpoint(Endpoint_APIManager));
    client.SendReceiveMessage(iRequest, oReply);
}
