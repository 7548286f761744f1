#include "PropertyListSerialization.h"
#include "TestSandbox.h"

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

using namespace platform;

// Another implementation of the formats (Python's) reads what this one writes, and the other way round.

namespace {

bool runPython(std::string script) {
    std::string program = "/usr/bin/python3";
    std::string option = "-c";
    std::string folder = sandbox::folder();
    char* arguments[] = {program.data(), option.data(), script.data(), folder.data(), nullptr};
    pid_t child = 0;
    int status = 0;
    return ::posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments, environ) == 0 &&
           ::waitpid(child, &status, 0) == child && status == 0;
}

// No object reference: in XML, Python knows none.
const PropertyList& everyKind() {
    static const PropertyList list(PropertyList::Dictionary{
        {"", ""},
        {"<key> & \"more\"", " a\tb\n<&> ]]>"},
        {"array", PropertyList::Array{1, "x", PropertyList::Array{}, PropertyList::Dictionary{{"a", true}}}},
        {"big", UINT64_MAX},
        {"data", PropertyList::Data{std::string("\x00\xFF\x80 A", 5)}},
        {"date", PropertyList::Date{789015845}},
        {"false", false},
        {"integers", PropertyList::Array{0, 1, -1, 255, 256, 65536, INT64_MIN, INT64_MAX}},
        {"long ago", PropertyList::Date{-31588531200}},
        {"reals", PropertyList::Array{0.1, -1.0 / 3.0, 1e300, 5e-324}},
        {"text of more than fifteen bytes", "ä€😀 and text of more than fifteen units"},
    });
    return list;
}

} // namespace

TEST(PropertyListInteroperability, TheOtherReadsWhatThisWrites) {
    for (auto format : {PropertyListFormat::Xml, PropertyListFormat::Binary}) {
        sandbox::writeFile(sandbox::folder() + "/list", serializePropertyList(everyKind(), format));
        EXPECT_TRUE(runPython(R"(
import datetime, plistlib, sys
with open(sys.argv[1] + '/list', 'rb') as file:
    assert plistlib.load(file) == {
        '': '', '<key> & "more"': ' a\tb\n<&> ]]>', 'array': [1, 'x', [], {'a': True}], 'big': 2**64 - 1,
        'data': b'\0\xFF\x80 A', 'date': datetime.datetime(2026, 1, 2, 3, 4, 5), 'false': False,
        'integers': [0, 1, -1, 255, 256, 65536, -2**63, 2**63 - 1],
        'long ago': datetime.datetime(1000, 1, 1), 'reals': [0.1, -1 / 3, 1e300, 5e-324],
        'text of more than fifteen bytes': 'ä€😀 and text of more than fifteen units'}
)")) << static_cast<int>(format);
    }
}

// What the other's writer cannot tell in XML.
TEST(PropertyListInteroperability, TheOtherReadsCarriageReturnsAndTheFirstYear) {
    sandbox::writeFile(
        sandbox::folder() + "/list",
        serializePropertyList(PropertyList::Array{"a\rb\r\n", PropertyList::Date{-63113904000}},
                              PropertyListFormat::Xml));
    EXPECT_TRUE(runPython(R"(
import datetime, plistlib, sys
with open(sys.argv[1] + '/list', 'rb') as file:
    assert plistlib.load(file) == ['a\rb\r\n', datetime.datetime(1, 1, 1)]
)"));
}

TEST(PropertyListInteroperability, ThisReadsWhatTheOtherWrites) {
    sandbox::writeFile(sandbox::folder() + "/list",
                       serializePropertyList(everyKind(), PropertyListFormat::Binary));
    ASSERT_TRUE(runPython(R"(
import plistlib, sys
with open(sys.argv[1] + '/list', 'rb') as file:
    values = plistlib.load(file)
for name, form in ('/xml', plistlib.FMT_XML), ('/binary', plistlib.FMT_BINARY):
    with open(sys.argv[1] + name, 'wb') as file:
        plistlib.dump(values, file, fmt=form)
)"));
    EXPECT_EQ(parsePropertyList(sandbox::readFile(sandbox::folder() + "/xml")), everyKind());
    EXPECT_EQ(parsePropertyList(sandbox::readFile(sandbox::folder() + "/binary")), everyKind());
}

TEST(PropertyListInteroperability, ObjectReferencesAreTheSameInBinaryFiles) {
    PropertyList reference(PropertyList::Uid{77});
    sandbox::writeFile(sandbox::folder() + "/list",
                       serializePropertyList(reference, PropertyListFormat::Binary));
    ASSERT_TRUE(runPython(R"(
import plistlib, sys
with open(sys.argv[1] + '/list', 'rb') as file:
    assert plistlib.load(file) == plistlib.UID(77)
with open(sys.argv[1] + '/again', 'wb') as file:
    plistlib.dump(plistlib.UID(77), file, fmt=plistlib.FMT_BINARY)
)"));
    EXPECT_EQ(parsePropertyList(sandbox::readFile(sandbox::folder() + "/again")), reference);
}
