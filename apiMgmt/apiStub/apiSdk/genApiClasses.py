#!/usr/bin/env python3
"""Writes the API classes from apiClasses.schema: one header per class and one source for all,
so that linking any class also links the registration of every class."""

import os
import re
import shlex
import sys

KINDS = {
    # kind: (attribute class, typed value)
    "BOOLEAN": ("BOOLEANApiAttribute", "bool"),
    "INT": ("INTApiAttribute", "int64"),
    "STRING": ("STRINGApiAttribute", "std::string"),
    "NAME": ("NAMEApiAttribute", "std::string"),
    "INSTANCEID": ("INSTANCEIDApiAttribute", "std::string"),
    "ENUM": ("ENUMApiAttribute", "std::string"),
    "IPV4": ("IPV4ADDRESSApiAttribute", "std::string"),
    "IPV6": ("IPV6ADDRESSApiAttribute", "std::string"),
    "STRINGARRAY": ("STRINGARRAYApiAttribute", "std::vector<std::string>"),
    "DATETIME": ("DATETIMEApiAttribute", "DATETimeObject"),
    "SIZE": ("SIZEApiAttribute", "STORAGESize"),
    "VERSION": ("VERSIONApiAttribute", "VERSIONObject"),
}


def fail(line_no, why):
    sys.exit("apiClasses.schema:%d: %s" % (line_no, why))


def display(name):
    return re.sub(r"(?<=[a-z0-9])(?=[A-Z])", " ", name)


class Attr:
    def __init__(self, name, kind, opts, line_no):
        self.name = name
        self.enum = None
        if kind.startswith("ENUM:"):
            kind, self.enum = "ENUM", kind[5:]
        if kind not in KINDS:
            fail(line_no, "unknown kind " + kind)
        self.kind = kind
        self.cls, self.type = KINDS[kind]
        if self.enum:
            self.type = self.enum
        self.show = int(opts.get("show", 25))
        self.ui = opts.get("ui", display(name))
        self.min = int(opts.get("min", -1 if kind == "INT" else 0))
        self.max = int(opts.get("max", -1 if kind == "INT" else 0))
        self.required = False

    def ctor_args(self):
        n, s, ui = '"%s"' % self.name, self.show, '"%s"' % self.ui
        if self.kind == "INT":
            return "%s, %d, false, %d, %d, %s" % (n, s, self.min, self.max, ui)
        if self.kind == "STRING":
            return "%s, %d, false, %d, %d, %s" % (n, s, self.min, self.max, ui)
        if self.kind == "NAME":
            return "%s, %d, false, false, %d, %d, %s" % (n, s, self.min, self.max, ui)
        return "%s, %d, false, %s" % (n, s, ui)


class Method:
    def __init__(self, name, is_list, sync, args):
        self.name, self.is_list, self.sync, self.args = name, is_list, sync, args


class Klass:
    def __init__(self, name, parent, is_method_object):
        self.name, self.parent, self.mo = name, parent, is_method_object
        self.attrs, self.methods, self.assocs = [], [], []

    @property
    def cls(self):
        return "API" + self.name


def parse(path):
    classes, cur = [], None
    with open(path) as f:
        for no, raw in enumerate(f, 1):
            line = raw.split("#", 1)[0].strip()
            if not line:
                continue
            words = shlex.split(line)
            what, rest = words[0], words[1:]
            opts = dict(w.split("=", 1) for w in rest if "=" in w)
            flags = [w for w in rest if "=" not in w]
            if what == "object":
                cur = Klass(flags[0], flags[1], False)
                classes.append(cur)
            elif what == "methodobject":
                cur = Klass(flags[0], "BASEApiMethodObject", True)
                classes.append(cur)
            elif cur is None:
                fail(no, "member before any class")
            elif what == "attr":
                cur.attrs.append(Attr(flags[0], flags[1], opts, no))
            elif what == "method":
                args = []
                for a in filter(None, opts.get("args", "").split(",")):
                    attr = Attr(a.rstrip("!"), "INSTANCEID" if a.rstrip("!") == "InstanceId"
                                else "STRING", {"show": 30, "ui": ""}, no)
                    attr.required = a.endswith("!")
                    args.append(attr)
                cur.methods.append(Method(flags[0], "list" in flags[1:], "sync" in flags[1:], args))
            elif what == "assoc":
                cur.assocs.extend(flags)
            else:
                fail(no, "unknown line " + what)
    return classes


def accessors(attrs, owner, put):
    """Declarations and definitions of Get<Name>Attr, Get<Name> and Set<Name>."""
    decl, defs = [], []
    for a in attrs:
        decl.append("    static const %s* Get%sAttr();" % (a.cls, a.name))
        defs.append("const %s* %s::Get%sAttr() {\n    static const %s attr(%s);\n    return &attr;\n}\n"
                    % (a.cls, owner, a.name, a.cls, a.ctor_args()))
        arg = a.type if a.type == "bool" or a.type == "int64" or a.enum else "const %s&" % a.type
        decl.append("    %s Get%s() const;" % (a.type, a.name))
        decl.append("    void Set%s(%s iValue);" % (a.name, arg))
        if a.enum:
            get = "m_GET_ENUMVAL(%s, GetStringDirect(Get%sAttr()->GetName()))" % (a.enum, a.name)
            setb = ("    std::string text;\n    m_SET_ENUMVAL(%s, iValue, text);\n" % a.enum +
                    "    " + put % ("Get%sAttr()->GetName()" % a.name, "text") + ";\n")
        else:
            get = "Get%sAttr()->ParseString(GetStringDirect(Get%sAttr()->GetName()))" % (a.name, a.name)
            setb = "    " + put % ("Get%sAttr()->GetName()" % a.name,
                                   "Get%sAttr()->ToString(iValue)" % a.name) + ";\n"
        defs.append("%s %s::Get%s() const {\n    return %s;\n}\n" % (a.type, owner, a.name, get))
        defs.append("void %s::Set%s(%s iValue) {\n%s}\n" % (owner, a.name, arg, setb))
    return decl, defs


def attr_list(owner, attrs, parent_list):
    own = ", ".join("Get%sAttr()" % a.name for a in attrs)
    body = "    static std::vector<const BASEApiAttribute*> list;\n    if (list.empty()) {\n"
    body += "        list = {%s};\n" % own
    if parent_list:
        body += "        const auto& parent = %s;\n" % parent_list
        body += "        list.insert(list.end(), parent.begin(), parent.end());\n"
    body += "    }\n    return list;\n"
    return ("const std::vector<const BASEApiAttribute*>& %s::GetAttributeListStatic() {\n%s}\n"
            % (owner, body))


def gen_class(k):
    h, c = [], []
    guard = "APISDK_%s_H" % k.cls.upper()
    h.append("#ifndef %s\n#define %s\n\n// Written by genApiClasses.py from apiClasses.schema.\n"
             % (guard, guard))
    h.append('#include <string>\n#include <vector>\n\n#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethod.h"')
    h.append('#include "apiMgmt/apiStub/base/apiObjects/base/baseApiMethodObject.h"')
    h.append('#include "apiMgmt/apiStub/base/apiObjects/base/baseApiObject.h"')
    h.append('#include "apiMgmt/apiStub/base/apiObjects/base/getListFilter.h"\n')
    h.append("class %s : public %s {\npublic:" % (k.cls, k.parent))
    h.append("    %s();" % k.cls)
    h.append("    static const std::string& GetObjectNameStatic();")
    h.append("    const std::string& GetObjectName() const override { return GetObjectNameStatic(); }")
    h.append("    static const std::vector<const BASEApiAttribute*>& GetAttributeListStatic();")
    h.append("    const std::vector<const BASEApiAttribute*>& GetAttributeList() const override {\n"
             "        return GetAttributeListStatic();\n    }")
    if not k.mo:
        h.append("    void InitializeAttributeLists() override { GetAttributeListStatic(); }")
    c.append("const std::string& %s::GetObjectNameStatic() {\n    static const std::string name(\"%s\");\n"
             "    return name;\n}\n" % (k.cls, k.name))
    if k.mo:
        c.append("%s::%s() {}\n" % (k.cls, k.cls))
        put = "PutStringDirect(%s, %s)"
    else:
        c.append("%s::%s() {\n    PutStringDirect(GetObjectTypeAttr()->GetName(), GetObjectNameStatic(), true);\n}\n"
                 % (k.cls, k.cls))
        put = "PutStringDirect(%s, %s, true)"
    c.append(attr_list(k.cls, k.attrs, None if k.mo else k.parent + "::GetAttributeListStatic()"))
    d, f = accessors(k.attrs, k.cls, put)
    h.extend(d)
    c.extend(f)
    for m in k.methods:
        mc = "%s%sMethod" % (k.cls, m.name)
        owner = "%s::%s" % (k.cls, mc)
        base = "GETLISTApiMethod" if m.is_list else "BASEApiMethod"
        h.append("\n    class %s : public %s {\n    public:" % (mc, base))
        if m.is_list:
            h.append("        %s() {}\n        explicit %s(const AttributeMap& iAttributes) : GETLISTApiMethod(iAttributes) {}"
                     % (mc, mc))
        else:
            h.append("        %s() : BASEApiMethod(false) {}\n        explicit %s(const AttributeMap& iAttributes)\n"
                     "            : BASEApiMethod(iAttributes, false) {}" % (mc, mc))
        h.append("        static const std::string& GetMethodNameStatic();")
        h.append("        const std::string& GetMethodName() const override { return GetMethodNameStatic(); }")
        h.append("        const std::string& GetObjectName() const override { return %s::GetObjectNameStatic(); }"
                 % k.cls)
        if m.sync:
            h.append("        bool AsyncAllowed() const override { return false; }")
        h.append("        static const std::vector<const BASEApiAttribute*>& GetAttributeListStatic();")
        h.append("        const std::vector<const BASEApiAttribute*>& GetAttributeList() const override {\n"
                 "            return GetAttributeListStatic();\n        }")
        c.append("const std::string& %s::GetMethodNameStatic() {\n    static const std::string name(\"%s\");\n"
                 "    return name;\n}\n" % (owner, m.name))
        args = list(m.args)
        required = [a.name for a in args if a.required]
        if m.is_list:
            h.append("        static const GETLISTFILTERApiAttribute* GetFilterAttr();")
            h.append("        GETListFilter* GetFilter() const override;")
            h.append("        void SetFilter(const GETListFilter* iFilter) override;")
            c.append("const GETLISTFILTERApiAttribute* %s::GetFilterAttr() {\n"
                     "    static const GETLISTFILTERApiAttribute attr(\"Filter\", 25, false, \"Filter\");\n"
                     "    return &attr;\n}\n" % owner)
            c.append("GETListFilter* %s::GetFilter() const {\n"
                     "    return GetFilterAttr()->ParseString(GetStringDirect(GetFilterAttr()->GetName()));\n}\n" % owner)
            c.append("void %s::SetFilter(const GETListFilter* iFilter) {\n"
                     "    PutStringDirect(GetFilterAttr()->GetName(), GetFilterAttr()->ToString(iFilter));\n}\n" % owner)
            required.append("Filter")
        d, f = accessors(args, owner, "PutStringDirect(%s, %s)")
        h.extend("    " + x for x in d)
        c.extend(f)
        names = ["Get%sAttr()" % a.name for a in args] + (["GetFilterAttr()"] if m.is_list else [])
        c.append("const std::vector<const BASEApiAttribute*>& %s::GetAttributeListStatic() {\n"
                 "    static std::vector<const BASEApiAttribute*> list;\n    if (list.empty())\n"
                 "        list = {%s};\n    return list;\n}\n" % (owner, ", ".join(names)))
        if required:
            h.append("        void ValidateRequiredAttributes() const override;")
            body = "".join(
                "    if (!IsAttributeSet(\"%s\") && !CanIgnoreValidation(\"%s\"))\n"
                "        throw APIMethodError(STRINGUtil::FormatStr(\"Required attribute %%s not set\", \"%s\"),\n"
                "                             ErrorStateEnum_InvalidValue, __FILE__, __LINE__,\n"
                "                             APIMGR_LOC_INVALID_REQUEST, nullptr);\n" % (r, r, r)
                for r in required)
            c.append("void %s::ValidateRequiredAttributes() const {\n%s}\n" % (owner, body))
        h.append("    };")
    for a in k.assocs:
        ac = "%s%sAssociation" % (k.name, a)
        owner = "%s::%s" % (k.cls, ac)
        h.append("\n    class %s : public BASEApiAssociation {\n    public:" % ac)
        h.append("        %s() {}\n        explicit %s(const std::string& iInstanceId) : BASEApiAssociation(iInstanceId) {}"
                 % (ac, ac))
        h.append("        explicit %s(const AttributeMap& iAttributes) : BASEApiAssociation(iAttributes) {}" % ac)
        h.append("        static const std::string& GetMethodNameStatic();")
        h.append("        const std::string& GetMethodName() const override { return GetMethodNameStatic(); }")
        h.append("        const std::string& GetObjectName() const override { return %s::GetObjectNameStatic(); }\n    };"
                 % k.cls)
        c.append("const std::string& %s::GetMethodNameStatic() {\n    static const std::string name(\"%s\");\n"
                 "    return name;\n}\n" % (owner, a))
    h.append("};\n\n#endif\n")
    return "\n".join(h), "\n".join(c)


def main():
    schema, out = sys.argv[1], sys.argv[2]
    classes = parse(schema)
    src = ["// Written by genApiClasses.py from apiClasses.schema.\n",
           '#include "apiMgmt/apiStub/base/apiObjects/base/apiObjectFactory.h"',
           '#include "apiMgmt/common/error/apiMethodError.h"',
           '#include "apiMgmt/common/utils/stringUtil.h"']
    bodies, regs = [], []
    for k in classes:
        sub = "methodobjects" if k.mo else "objects"
        hdr, body = gen_class(k)
        path = os.path.join(out, "apiMgmt/apiStub/apiSdk", sub, k.cls + ".h")
        os.makedirs(os.path.dirname(path), exist_ok=True)
        write(path, hdr)
        src.append('#include "apiMgmt/apiStub/apiSdk/%s/%s.h"' % (sub, k.cls))
        bodies.append(body)
        base = "BASEApiMethodObject" if k.mo else "BASEApiObject"
        regs.append("REGISTERClass<%s, %s> gRegister%s(\"%s\");" % (base, k.cls, k.cls, k.name))
        for m in k.methods:
            mc = "%s%sMethod" % (k.cls, m.name)
            regs.append("REGISTERClass<BASEApiMethod, %s::%s> gRegister%s(\"%s\");" % (k.cls, mc, mc, mc))
    src.append("")
    src.extend(bodies)
    src.append("namespace {\n\n// Every class enters its factory at start-up, in the order of the schema.")
    src.extend(regs)
    src.append("\n}  // namespace\n")
    write(os.path.join(out, "apiMgmt/apiStub/apiSdk/apiSdkClasses.cpp"), "\n".join(src))


def write(path, text):
    # Unchanged outputs keep their time, so the build does not recompile them.
    try:
        with open(path) as f:
            if f.read() == text:
                return
    except OSError:
        pass
    with open(path, "w") as f:
        f.write(text)


if __name__ == "__main__":
    main()
