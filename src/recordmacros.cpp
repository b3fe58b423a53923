// The macro forms of error records: ErrorInfo::asString(format), CodeLocation::asString(format)
// and CustomInfo::asStringList(format), with a record as the value source of the macro replacer.
// They are declared with the records but defined here, above the macro engine, so that the records
// themselves depend on nothing above strings and time.
#include "qorcommon/errorinfo.h"
#include "qorcommon/macroreplacer.h"

#include <utility>

namespace Orvane {
namespace Core {

namespace {

// $(custom_info:<key>[,<default>]) over `info`.
bool customInfoValue(const CustomInfo& info, const StringList& args, std::string& result,
                     StringList& errors) {
    if (args.size() < 1 || args.size() > 2 || args.front().empty()) {
        errors.append("custom_info: usage: $(cusom_info:<key>,[<default_value>])");
        return false;
    }
    const std::string& key = args.front();
    if (info.contains(key)) {
        result = info.values().at(key);
        return true;
    }
    if (args.size() == 2) {
        result = args.back();
        return true;
    }
    errors.append(String("custom_info: key '{0}' in custom info is not found").a(key).str());
    return false;
}

class CodeLocationMacros : public MacroReplacerHelper {
public:
    explicit CodeLocationMacros(const CodeLocation& location) : m_location(location) {}

    using MacroReplacerHelper::getCustomValue;
    bool getCustomValue(const std::string& name, const StringList& args, std::string& result,
                        StringList& errors) override {
        if (name == "file") {
            result = m_location.file();
        } else if (name == "line") {
            // No line gives an empty text, so "$(file):$(line)" never shows a negative number.
            result = m_location.line() < 0 ? std::string() : std::to_string(m_location.line());
        } else if (name == "function") {
            result = m_location.function();
        } else if (name == "comment") {
            result = m_location.comment();
        } else if (name == "custom_info") {
            return customInfoValue(m_location.customInfo(), args, result, errors);
        } else {
            return false;
        }
        return true;
    }

private:
    const CodeLocation& m_location;
};

class ErrorInfoMacros : public MacroReplacerHelper {
public:
    // The location's macros answer what the record itself does not.
    explicit ErrorInfoMacros(const ErrorInfo& errorInfo)
        : m_errorInfo(errorInfo), m_location(errorInfo.codeLocation()) {
        setParentHelper(&m_location);
    }

    using MacroReplacerHelper::getCustomValue;
    bool getCustomValue(const std::string& name, const StringList& args, std::string& result,
                        StringList& errors) override {
        const ModuleInfo& module = m_errorInfo.moduleInfo();
        if (name == "error_text") {
            result = m_errorInfo.errorText();
        } else if (name == "error_code") {
            result = std::to_string(m_errorInfo.errorCode());
        } else if (name == "hint") {
            result = m_errorInfo.hint();
        } else if (name == "date") {
            return dateValue(args, result);
        } else if (name == "module") {
            result = module.asString().str();
        } else if (name == "module_name") {
            result = module.name();
        } else if (name == "module_type") {
            result = module.type();
        } else if (name == "module_version") {
            result = module.version().toString();
        } else if (name == "code_location") {
            result = args.isEmpty()
                         ? m_errorInfo.codeLocation().asString().str()
                         : m_errorInfo.codeLocation().asString(args.front(), errors).str();
        } else if (name == "custom_info") {
            return customInfoValue(m_errorInfo.customInfo(), args, result, errors);
        } else {
            return false;
        }
        return true;
    }

private:
    bool dateValue(const StringList& args, std::string& result) const {
        const DateTime& date = m_errorInfo.dateTime();
        const std::string format = args.isEmpty() ? std::string() : args.front();
        if (format.empty() || format == "iso")
            result = date.asISODateTime(false).str();
        else if (format == "posix")
            result = std::to_string(date.asPosixTime());
        else
            result = date.asString(format).str();
        return true;
    }

    const ErrorInfo& m_errorInfo;
    CodeLocationMacros m_location;
};

class CustomInfoPairMacros : public MacroReplacerHelper {
public:
    explicit CustomInfoPairMacros(const CustomInfo& info) : m_info(info) {}

    void setPair(const std::string& key, const std::string& value) {
        m_key = &key;
        m_value = &value;
    }

    using MacroReplacerHelper::getCustomValue;
    bool getCustomValue(const std::string& name, const StringList& args, std::string& result,
                        StringList& errors) override {
        if (name == "key") {
            result = *m_key;
        } else if (name == "value") {
            result = *m_value;
        } else if (name == "custom_info") {
            return customInfoValue(m_info, args, result, errors);
        } else {
            return false;
        }
        return true;
    }

private:
    const CustomInfo& m_info;
    const std::string* m_key = nullptr;
    const std::string* m_value = nullptr;
};

String expandWith(MacroReplacerHelper& macros, const std::string& format, StringList& unresolved) {
    std::string text = format;
    MacroReplacer(&macros).replace(text, unresolved);
    return String(std::move(text));
}

String expandErrorInfoFormat(const ErrorInfo& errorInfo, const std::string& format,
                             StringList& unresolved) {
    ErrorInfoMacros macros(errorInfo);
    return expandWith(macros, format, unresolved);
}

String expandCodeLocationFormat(const CodeLocation& codeLocation, const std::string& format,
                                StringList& unresolved) {
    CodeLocationMacros macros(codeLocation);
    return expandWith(macros, format, unresolved);
}

StringList expandCustomInfoFormat(const CustomInfo& customInfo, const std::string& format,
                                  StringList& unresolved) {
    CustomInfoPairMacros macros(customInfo);
    MacroTemplate parsed(format);
    MacroReplacer replacer(&macros);
    StringList list;
    std::string line;
    for (const auto& pair : customInfo.values()) {
        macros.setPair(pair.first, pair.second);
        replacer.expand(parsed, line, unresolved);
        list.append(line);
    }
    return list;
}

} // namespace

String ErrorInfo::asString(const std::string& format) const {
    StringList unresolved;
    return asString(format, unresolved);
}

String ErrorInfo::asString(const std::string& format, StringList& unresolved) const {
    return expandErrorInfoFormat(*this, format, unresolved);
}

String CodeLocation::asString(const std::string& format) const {
    StringList unresolved;
    return asString(format, unresolved);
}

String CodeLocation::asString(const std::string& format, StringList& unresolved) const {
    return expandCodeLocationFormat(*this, format, unresolved);
}

StringList CustomInfo::asStringList(const std::string& format) const {
    StringList unresolved;
    return asStringList(format, unresolved);
}

StringList CustomInfo::asStringList(const std::string& format, StringList& unresolved) const {
    return expandCustomInfoFormat(*this, format, unresolved);
}

} // namespace Core
} // namespace Orvane
