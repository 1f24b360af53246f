#ifndef APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_APICONSTANTS_H
#define APIMGMT_APISTUB_BASE_APIOBJECTS_BASE_APICONSTANTS_H

// The tags of the request and reply documents, and the separators of the value texts with
// the tokens that stand for them inside a value.

#define XML_QUILLAPI_TAG "quillapi"
#define XML_APICONNECTION_TAG "ApiConnection"
#define XML_SESSIONKEY_TAG "sessionkey"
#define XML_SESSION_LOCALE_TAG "locale"
#define XML_SESSIONHANDLE_TAG "sessionhandle"
#define XML_DONTRESETTIMER_TAG "dontresettimer"
#define XML_LOGIN_TAG "login"
#define XML_APIMETHOD_TAG "ApiMethod"
#define XML_CMDTYPE_TAG "CommandType"
#define XML_OBJ_TAG "Object"
#define XML_CMD_TAG "Command"
#define XML_ASYNC_TAG "Async"
#define XML_ENCODETYPE_TAG "ObjectEncodeType"
#define XML_ATTRIBUTES_TAG "Attributes"
#define XML_APIMETHODRETURN_TAG "ApiMethodReturn"
#define XML_BOOLRETURN_TAG "ReturnBool"
#define XML_INTRETURN_TAG "ReturnInt"
#define XML_STRINGRETURN_TAG "ReturnString"
#define XML_COMPOBJRETURN_TAG "ReturnObject"
#define XML_COMPOBJARRAYETURN_TAG "ReturnObjectArray"
#define XML_COMPMETHODOBJRETURN_TAG "ReturnMethodObject"
#define XML_COMPMETHODOBJARRAYRETURN_TAG "ReturnMethodObjectArray"
#define XML_ENUMMASKRETURN_TAG "ReturnEnumMask"
#define XML_ENUMRETURN_TAG "ReturnEnum"
#define XML_ENUM_VALUE "Value"
#define XML_ENUM_DESCRIPTION "Description"
#define XML_ENUM_UISTRING "UiString"

#define ATTRIBUTE_CONNECTOR " "
#define FILTER_ELEM_SEPERATOR "-"
#define FILTER_ELEM_SEPERATOR_REP "&hy&"
#define ARRAY_ELEM_SEPERATOR ":"
#define ARRAY_ELEM_SEPERATOR_REP "-co-"
#define CSV_ELEM_SEPERATOR ","
#define CSV_ELEM_SEPERATOR_REP "--cm--"
#define CSV_ELEM_NEWLINE "\n"
#define CSV_ELEM_NEWLINE_REP "--nl--"
#define CSV_OBJ_SEPERATOR ":"
#define CSV_OBJ_SEPERATOR_REP "--cl--"

#define CSV_DATA_OPEN_TAG "<Data>"
#define CSV_DATA_CLOSE_TAG "</Data>"
#define CSV_HEADER_OPEN_TAG "<Header>"
#define CSV_HEADER_CLOSE_TAG "</Header>"

#endif
