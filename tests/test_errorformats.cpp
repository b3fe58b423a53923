// The macro forms of error records: ErrorInfo::asString(format), CodeLocation::asString(format)
// and CustomInfo::asStringList(format).
#include "qorcommon/errorinfo.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Orvane::Core;

namespace {

using Texts = std::vector<std::string>;

ErrorInfo sampleRecord() {
    CustomInfo custom;
    custom << CustomInfo::Pair("file", "data.bin") << CustomInfo::Pair("size", "12");
    CodeLocation location("src/reader.cpp", 42, "read", CodeLocation::Plain, "header",
                          CustomInfo("phase", "open"));
    return ErrorInfo(ModuleInfo("reader", "dll", Version(2, 1)), location, 7, "cannot read",
                     "check the file", custom, DateTime(2024, 1, 31, 23, 59, 59, 7));
}

} // namespace

TEST(ErrorFormats, ErrorInfoMacros) {
    const ErrorInfo record = sampleRecord();
    EXPECT_EQ("cannot read (7): check the file",
              record.asString("$(error_text) ($(error_code)): $(hint)").str());
    EXPECT_EQ("2024-01-31T23:59:59.007 20240131 2024",
              record.asString("$(date) $(date:YYYYMMDD) $(date:{YYYY})").str());
    EXPECT_EQ(std::to_string(record.dateTime().asPosixTime()),
              record.asString("$(date:posix)").str());
    EXPECT_EQ("reader (dll) 2.1.0|reader|dll|2.1.0",
              record.asString("$(module)|$(module_name)|$(module_type)|$(module_version)").str());
    EXPECT_EQ(record.codeLocation().asString().str(), record.asString("$(code_location)").str());
    EXPECT_EQ("src/reader.cpp@42 read header",
              record.asString("$(code_location:{$(file)@$(line)}) $(function) $(comment)").str());
    EXPECT_EQ("data.bin 12 none", record
                                      .asString("$(custom_info:file) $(custom_info:size) "
                                                "$(custom_info:absent,none)")
                                      .str());
    // The record's own macros come with the built-ins.
    EXPECT_EQ("cannot read\n", record.asString("$(error_text)$(nl)").str());
    EXPECT_EQ("-1", ErrorInfo("x").asString("$(error_code)").str());
}

TEST(ErrorFormats, UnresolvedMacrosAreHandedBack) {
    const ErrorInfo record = sampleRecord();
    StringList unresolved;
    EXPECT_EQ(
        "cannot read [no value] [no value] [no value]",
        record.asString("$(error_text) $(nosuch) $(custom_info:absent) $(custom_info)", unresolved)
            .str());
    EXPECT_EQ(
        (Texts{"unknown macro: nosuch", "custom_info: key 'absent' in custom info is not found",
               "custom_info: usage: $(cusom_info:<key>,[<default_value>])"}),
        unresolved.asVector());
    // The first form drops them.
    EXPECT_EQ("[no value]", record.asString("$(nosuch)").str());
    // The location's annotations are its own.
    unresolved.clear();
    EXPECT_EQ(
        "open/[no value]",
        record.asString("$(code_location:{$(custom_info:phase)/$(custom_info:file)})", unresolved)
            .str());
    EXPECT_EQ(Texts{"custom_info: key 'file' in custom info is not found"}, unresolved.asVector());
}

TEST(ErrorFormats, CodeLocationMacros) {
    const CodeLocation location("a.cpp", 12, "f", CodeLocation::Plain, "note",
                                CustomInfo("k", "v"));
    EXPECT_EQ("a.cpp:12", location.asString("$(file):$(line)").str());
    EXPECT_EQ("f (note) v", location.asString("$(function) ($(comment)) $(custom_info:k)").str());
    EXPECT_EQ(":", CodeLocation().asString("$(file):$(line)").str()) << "nothing for what is unset";
    EXPECT_EQ("b.cpp:", CodeLocation("b.cpp", -1).asString("$(file):$(line)").str());
    StringList unresolved;
    EXPECT_EQ("[no value]", location.asString("$(error_text)", unresolved).str());
    EXPECT_EQ(Texts{"unknown macro: error_text"}, unresolved.asVector());
}

TEST(ErrorFormats, CustomInfoLines) {
    CustomInfo info;
    info << CustomInfo::Pair("b", "2") << CustomInfo::Pair("a", "1");
    EXPECT_EQ((Texts{"a=1 (of 2)", "b=2 (of 2)"}),
              info.asStringList("$(key)=$(value) (of $(custom_info:b))").asVector());
    StringList unresolved;
    EXPECT_EQ((Texts{"a:[no value]", "b:[no value]"}),
              info.asStringList("$(key):$(custom_info:c)", unresolved).asVector());
    EXPECT_EQ(2u, unresolved.size());
    EXPECT_EQ("custom_info: key 'c' in custom info is not found", unresolved.front());
    EXPECT_TRUE(CustomInfo().asStringList("$(key)").isEmpty());
}
