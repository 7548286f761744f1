#include "linux/IntrospectedMethods.h"

#include "TestSandbox.h"

#include <gmock/gmock.h>

using platform::introspectedMethods;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string node(const std::string& contents) {
    return "<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object Introspection 1.0//EN\"\n"
           "\"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd\">\n<node>" +
           contents + "</node>";
}

} // namespace

TEST(IntrospectedMethods, AreThoseOfTheInterface) {
    const auto xml =
        node("<interface name=\"a.A\"><method name=\"one\"/></interface>"
             "<interface name=\"a.B\"><method name=\"two\"><arg name=\"x\" type=\"s\"/></method>"
             "<signal name=\"three\"/><property name=\"four\"/><method name=\"five\"/></interface>"
             "<node name=\"child\"/>");
    EXPECT_THAT(introspectedMethods(xml, "a.A"), ElementsAre("one"));
    EXPECT_THAT(introspectedMethods(xml, "a.B"), ElementsAre("five", "two"));
    EXPECT_THAT(introspectedMethods(xml, "a.C"), IsEmpty());
}

TEST(IntrospectedMethods, OfAnotherObjectAreNoneOfThisOne) {
    EXPECT_THAT(introspectedMethods(node("<node name=\"child\"><interface name=\"a.A\"><method name=\"one\"/>"
                                         "</interface></node>"),
                                    "a.A"),
                IsEmpty());
}

TEST(IntrospectedMethods, AreNoneWhenTheDataAreDamaged) {
    const auto good = "<interface name=\"a.A\"><method name=\"one\"/></interface>";
    EXPECT_THAT(introspectedMethods(node(good), "a.A"), ElementsAre("one"));
    EXPECT_THAT(introspectedMethods("", "a.A"), IsEmpty());
    EXPECT_THAT(introspectedMethods("text", "a.A"), IsEmpty());
    EXPECT_THAT(introspectedMethods(node(good) + "<", "a.A"), IsEmpty());
    EXPECT_THAT(introspectedMethods(node(std::string(good) + "<unclosed>"), "a.A"), IsEmpty());
    EXPECT_THAT(introspectedMethods(
                    "<!DOCTYPE node [<!ENTITY e \"x\">]><node>" + std::string(good) + "</node>", "a.A"),
                IsEmpty());
    EXPECT_THAT(introspectedMethods(node(good + std::string(std::size_t{2} << 20, ' ')), "a.A"), IsEmpty());
}

TEST(IntrospectedMethods, OfThePublishedProtocolAreAllThatAWorkerSends) {
    EXPECT_THAT(
        introspectedMethods(sandbox::readFile(VT_PROTOCOL), "com.vantorel.VTOSTLErrorCallbackProtocol"),
        ElementsAre("incrementRemoteProgress", "postDisconnect", "postError", "postErrorForApp",
                    "postErrorString", "postErrorStringUserInfo", "postFinishedTask"));
}
