#include "ApiSimServer.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <memory>
#include <nlohmann/json.hpp>

#include "apiMgmt/apiStub/apiSdk/objects/APIScController.h"
#include "apiMgmt/apiStub/apiSdk/objects/APIStorageCell.h"
#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethodReturn.h"
#include "apiMgmt/common/utils/stringUtil.h"
#include "platform/expatwrapper/xmlParser.h"

namespace {

using nlohmann::json;

// Above the largest message the client takes (5242880 bytes).
const size_t kOversizeBytes = 5242880 + 4096;

std::string Now() {
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    struct tm utc;
    gmtime_r(&tv.tv_sec, &utc);
    char text[40];
    size_t n = strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &utc);
    snprintf(text + n, sizeof(text) - n, ".%06ldZ", static_cast<long>(tv.tv_usec));
    return text;
}

// Invalid UTF-8 must not stop a line from being written.
std::string Dump(const json& iValue) {
    return iValue.dump(-1, ' ', false, json::error_handler_t::replace);
}

BASEApiObject* Made(BASEApiObject* iObject, const ApiSimObject& iFrom) {
    for (const auto& kv : iFrom.attributes)
        iObject->PutStringDirect(kv.first, kv.second, true);
    return iObject;
}

std::string Failed(ErrorStateEnum iState, const std::string& iError, const std::string& iLocalized,
                   const std::string& iDetail) {
    return BASEApiMethodReturn(false, iState, iError, iLocalized, iDetail, nullptr)
        .ToString(ObjectReturnEncodeEnum_Xml);
}

}  // namespace

ApiSimLog::~ApiSimLog() {
    if (m_file)
        fclose(m_file);
}

bool ApiSimLog::Open(const std::string& iPath, std::string& oError) {
    int fd = open(iPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    FILE* f = fd >= 0 ? fdopen(fd, "w") : nullptr;
    if (!f) {
        if (fd >= 0)
            close(fd);
        oError = iPath + ": cannot be written: " + strerror(errno);
        return false;
    }
    m_file = f;
    return true;
}

void ApiSimLog::Event(const std::string& iKind, const std::string& iJsonFields) {
    ++m_seq;
    if (!m_file)
        return;
    std::string line = "{\"seq\":" + std::to_string(m_seq) + ",\"time\":\"" + Now() +
                       "\",\"event\":" + Dump(iKind);
    if (iJsonFields.size() > 2)
        line += "," + iJsonFields.substr(1, iJsonFields.size() - 2);
    line += "}\n";
    fwrite(line.data(), 1, line.size(), m_file);
    fflush(m_file);
}

void ApiSimLog::Say(const std::string& iLine) const {
    if (m_quiet)
        return;
    printf("%s %s\n", Now().substr(11, 12).c_str(), iLine.c_str());
    fflush(stdout);
}

std::string ApiSimServer::Tolerate(const std::string& iDocument) {
    std::string text = iDocument;
    STRINGUtil::ReplaceAll(text, "&hy&", "&amp;hy&amp;");
    return text;
}

std::string ApiSimServer::Redacted(const std::string& iDocument) {
    const std::string open = "<sessionkey>", close = "</sessionkey>";
    size_t b = iDocument.find(open);
    if (b == std::string::npos)
        return iDocument;
    size_t e = iDocument.find(close, b);
    if (e == std::string::npos)
        return iDocument.substr(0, b + open.size()) + "(redacted)";
    return iDocument.substr(0, b + open.size()) + "(redacted)" + iDocument.substr(e);
}

bool ApiSimServer::Answer(const protoIPCMsg::GPBIPCMsg& iRequest, protoIPCMsg::GPBIPCMsg& oReply,
                          const std::function<bool(unsigned)>& iWait) {
    const ApiSimFaults& faults = m_config.faults;
    std::string document, object, command, outcome;
    std::map<std::string, std::string> attributes;
    bool hasKey = false, keyValid = false, wellFormed = false;
    if (iRequest.msgtype() == protoIPCMsg::APIRequest && iRequest.has_apireqmsg() &&
        iRequest.apireqmsg().has_cmd()) {
        document = iRequest.apireqmsg().cmd().cmddata();
        parser::XMLParser xml(nullptr);
        const parser::XMLElement* root = nullptr;
        if (xml.ParseXMLString(Tolerate(document)) && (root = xml.GetDocumentElement()) &&
            root->tagName == "quillapi") {
            wellFormed = true;
            for (const parser::XMLElement* c : root->GetChildElemsByTagName("ApiConnection")) {
                if (!c->GetChildElemsByTagName("sessionkey").empty()) {
                    hasKey = true;
                    keyValid = c->GetChildElemContentByTag("sessionkey") == m_key;
                }
            }
            std::vector<parser::XMLElement*> methods = root->GetChildElemsByTagName("ApiMethod");
            if (!methods.empty()) {
                object = methods[0]->GetChildElemContentByTag("Object");
                command = methods[0]->GetChildElemContentByTag("Command");
                std::vector<parser::XMLElement*> attrs =
                    methods[0]->GetChildElemsByTagName("Attributes");
                if (!attrs.empty()) {
                    std::vector<std::pair<std::string, std::string>> tv;
                    attrs[0]->GetChildTagVals(tv);
                    for (const auto& p : tv)
                        attributes[p.first] = p.second;
                }
            }
        }
    }
    json request = {{"xml", Redacted(document)},
                    {"well_formed", wellFormed},
                    {"session_key", hasKey ? "present" : "absent"},
                    {"session_key_valid", keyValid},
                    {"object", object},
                    {"command", command},
                    {"attributes", attributes}};
    m_log.Event("request", Dump(request));

    json reply = {{"object", object}, {"command", command}};
    if (faults.closeWithoutReply) {
        reply["fault"] = "close_without_reply";
        m_log.Event("close", Dump(reply));
        m_log.Say(object + " " + command + ": closed without a reply");
        return false;
    }
    if (faults.delayMs && !iWait(faults.delayMs)) {
        reply["fault"] = "stopped_during_delay";
        m_log.Event("close", Dump(reply));
        return false;
    }

    std::string xml;
    if (!wellFormed) {
        xml = Failed(ErrorStateEnum_ParsingError, "Invalid request", "Invalid request",
                     "The request document is not well-formed");
        outcome = "refused: not well-formed";
    } else {
        xml = Reply(object, command, attributes, keyValid, outcome);
    }

    std::vector<std::string> applied;
    const std::string status = "<ApiMethodReturn>";
    size_t b = xml.find(status), e = xml.find("</ApiMethodReturn>");
    if (faults.returnElements != 1 && b != std::string::npos && e != std::string::npos) {
        const std::string element = xml.substr(b, e + 18 - b);
        xml.replace(b, element.size(), faults.returnElements == 0 ? "" : element + element);
        applied.push_back("return_elements=" + std::to_string(faults.returnElements));
    }
    if (faults.unparsableXml) {
        xml.resize(xml.size() / 2);
        applied.push_back("unparsable_xml");
    }
    if (faults.oversize) {
        xml += "<!--" + std::string(kOversizeBytes, 'x') + "-->";
        applied.push_back("oversize_reply");
    }
    oReply.Clear();
    oReply.set_msgtype(faults.wrongMessageType ? protoIPCMsg::CAResp : protoIPCMsg::APIResp);
    if (faults.wrongMessageType)
        applied.push_back("wrong_message_type");
    protoIPCMsg::APIRespMsg* resp = oReply.mutable_apirespmsg();
    resp->set_cmdtype(protoIPCMsg::Command);
    resp->mutable_cmd()->set_respdata(xml);

    reply["outcome"] = outcome;
    reply["faults"] = applied;
    reply["bytes"] = xml.size();
    if (!faults.oversize)
        reply["xml"] = xml;
    m_log.Event("reply", Dump(reply));
    m_log.Say(object + " " + command + ": " + outcome +
              (applied.empty() ? ""
                               : " (" + std::to_string(applied.size()) + " fault" +
                                     (applied.size() == 1 ? ")" : "s)")));
    return true;
}

std::string ApiSimServer::Reply(const std::string& iObject, const std::string& iCommand,
                                const std::map<std::string, std::string>& iAttributes,
                                bool iKeyValid, std::string& oOutcome) const {
    const ApiSimFaults& f = m_config.faults;
    if (!iKeyValid) {
        oOutcome = "refused: session key";
        return Failed(ErrorStateEnum_IllegalSessionKey, "Invalid session key",
                      "Invalid session key", "The session key is missing or not valid");
    }
    if (f.fail) {
        oOutcome = "failed as configured";
        return Failed(f.failCode, f.failError, f.failLocalizedError, f.failDetail);
    }
    if (iObject == APIScController::GetObjectNameStatic() &&
        iCommand == APIScController::APIScControllerGetListMethod::GetMethodNameStatic()) {
        // The filter is applied by the return itself, through the client's own filter classes.
        COMPObjectMethodReturn r(true, true,
                                 new APIScController::APIScControllerGetListMethod(iAttributes));
        std::vector<BASEApiObject*> objects;
        for (const ApiSimObject& c : m_config.controllers)
            objects.push_back(Made(new APIScController(), c));
        r.SetReturnObject(objects);
        std::string xml = r.ToString(ObjectReturnEncodeEnum_Xml);
        size_t n = 0;
        for (size_t at = 0; (at = xml.find("<ScController>", at)) != std::string::npos; ++at)
            ++n;
        oOutcome = std::to_string(n) + " of " + std::to_string(objects.size()) + " controllers";
        return xml;
    }
    if (iObject == APIStorageCell::GetObjectNameStatic() &&
        iCommand == APIStorageCell::APIStorageCellGetMethod::GetMethodNameStatic()) {
        auto id = iAttributes.find(BASEApiObject::GetInstanceIdAttr()->GetName());
        const std::string wanted = id == iAttributes.end() ? "" : id->second;
        if (m_config.hasStorageCell &&
            m_config.storageCell.attributes.at(BASEApiObject::GetInstanceIdAttr()->GetName()) ==
                wanted) {
            COMPObjectMethodReturn r(false, true, nullptr);
            r.SetReturnObject(Made(new APIStorageCell(), m_config.storageCell), true);
            oOutcome = "storage cell " + wanted;
            return r.ToString(ObjectReturnEncodeEnum_Xml);
        }
        oOutcome = "no storage cell " + wanted;
        return Failed(ErrorStateEnum_ObjectNotAvailable, "Object not found", "Object not found",
                      "No StorageCell with instance id " + wanted);
    }
    oOutcome = "refused: not served";
    return Failed(ErrorStateEnum_MethodNotAvailable, "Method not available", "Method not available",
                  iObject + " " + iCommand + " is not served here");
}
