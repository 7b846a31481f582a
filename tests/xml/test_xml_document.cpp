#include "captured_log.h"
#include "support/repeated.h"
#include "xml/xml_message_log.h"

#include <gtest/gtest.h>

namespace kavro {
namespace {

using namespace std::literals;
using test_support::repeated;

std::shared_ptr<const XmlDocument> parsed(std::string_view text) {
    std::string error;
    auto document = XmlDocument::parse(SecureText(text), error);
    EXPECT_EQ(document == nullptr, !error.empty()) << text;
    return document;
}

std::string rewritten(XmlNode element) {
    std::string text;
    append_xml(text, element);
    return text;
}

std::string nested(int levels) {
    return repeated("<a>", levels) + repeated("</a>", levels);
}

TEST(XmlDocument, ReadsWhatIsMeant) {
    const std::pair<std::string, std::string> rows[] = {
        {"<a/>", "<a></a>"},
        {"<a> x </a>", "<a> x </a>"},
        {"<a> </a>", "<a> </a>"},
        {"<a>\r\n\t<b/> x</a>", "<a>\r\n\t<b></b> x</a>"},
        {"<a><![CDATA[<b>&amp;]]></a>", "<a>&lt;b&gt;&amp;amp;</a>"},
        {"<a>1<![CDATA[2]]>3<![CDATA[]]></a>", "<a>123</a>"},
        {"<a>&lt;&gt;&amp;&quot;&apos;&#65;&#x42;&#xfc;&#x20AC;&#128512;&#x7FF;&#x800;&#x10000;</"
         "a>",
         "<a>&lt;&gt;&amp;&quot;&apos;"
         "AB\xc3\xbc\xe2\x82\xac\xf0\x9f\x98\x80\xdf\xbf\xe0\xa0\x80\xf0\x90\x80\x80</a>"},
        {"<a>&unknown; & &amp</a>", "<a>&amp;unknown; &amp; &amp;amp</a>"},
        {"<a>x<!-- </a> -->y<?pi </a> ?>z</a>", "<a>xyz</a>"},
        {"<!-- c --><?pi?><a/>", "<a></a>"},
        {"\xef\xbb\xbf<?xml version='1.0'?>\r\n<a/>\r\n", "<a></a>"},
        {"<a/><b/>", "<a></a>"},
        {"<a b=\"1\" c='\"&lt;>' b='2'/>", "<a b=\"1\" c=\"&quot;&lt;&gt;\" b=\"2\"></a>"},
        {"<a b = \"\n\" ></a >", "<a b=\"\n\"></a>"},
        {"<k:a k:b=''>&#9;&#xFFFD;\x7f</k:a>", "<k:a k:b=\"\">\t\xef\xbf\xbd\x7f</k:a>"},
        // Neither bytes that are nothing nor surrogates nor overlong forms come out.
        {"<a>\xff\xc3</a>", "<a>\xef\xbf\xbd\xef\xbf\xbd</a>"},
        {"<a>\xed\xa0\x80\xc0</a>", "<a>" + repeated("\xef\xbf\xbd", 4) + "</a>"},
        {"<a>" + std::string(300, 'x') + "\xc3\xbc\xfc</a>",
         "<a>" + std::string(300, 'x') + "\xc3\xbc\xef\xbf\xbd</a>"},
        {"<a>\x80" + std::string(300, 'x') + "</a>",
         "<a>\xef\xbf\xbd" + std::string(300, 'x') + "</a>"},
        {"<?xml version='1.0' encoding='Iso-8859-1'?><a>\xfc</a>", "<a>\xc3\xbc</a>"},
        {"<?xml version='1.0' encoding='US-ASCII'?><a>u</a>", "<a>u</a>"},
    };
    for (const auto &[text, expected] : rows) {
        const auto document = parsed(text);
        ASSERT_TRUE(document && document->root()) << text;
        EXPECT_EQ(rewritten(document->root()), expected) << text;
    }
    for (const char *nothing : {"", " \r\n", "<!-- only -->", "<?xml version='1.0'?>"}) {
        const auto document = parsed(nothing);
        ASSERT_TRUE(document) << nothing;
        EXPECT_FALSE(document->root()) << nothing;
    }
}

/// The reason for which a text is refused.
std::string refusal(std::string_view text) {
    std::string error;
    EXPECT_FALSE(XmlDocument::parse(SecureText(text), error)) << text.substr(0, 100);
    return error;
}

TEST(XmlDocument, RefusesWhatIsMalformed) {
    const CapturedLog log;
    const std::pair<const char *, std::vector<const char *>> rows[] = {
        {"expected <", {"text", "<a/>text"}},
        {"expected >", {"<a/ >"}},
        {"expected element name", {"<>", "< a/>"}},
        {"expected attribute name", {"<a", "<a b='<'", "<a=b/>", "<a\"b/>"}},
        {"expected =", {"<a b>", "<a b='1'c/>"}},
        {"expected ' or \"", {"<a b=c/>", "<a b=\"c/>"}},
        {"expected ;", {"<a>&#65</a>"}},
        {"invalid numeric character entity",
         {"<a>&#x110000;</a>", "<a b='&#99999999999;'/>", "<a>&#0;</a>", "<a b='&#x1B;'/>",
          "<a>&#xD800;</a>", "<a>&#xFFFE;</a>", "<a>&#;</a>"}},
        {"excluded character",
         {"<a>\x1b</a>", "<a><![CDATA[\x01]]></a>", "<a><!--\x01--></a>", "<a>\xef\xbf\xbf</a>"}},
        {"unknown encoding", {"<?xml version='1.0' encoding='windows-1252'?><a/>"}},
        {"invalid closing tag", {"<a></b>", "<a></ab>", "<a><b></a></b>", "</a>", "<a></a></a>"}},
        {"unexpected end of data", {"<a>", "<a><!-- </a>", "<a><![CDATA[ </a>", "<a><? </a>"}},
        {"document type", {"<!DOCTYPE a [<!ENTITY x \"y\">]><a>&x;</a>", "<a><![CDATA [x]]></a>"}},
    };
    for (const auto &[reason, texts] : rows)
        for (const char *text : texts)
            EXPECT_EQ(refusal(text), reason) << text;
    EXPECT_EQ(CapturedLog::count("The XML declares an encoding that cannot be read: windows-1252"),
              1);
    for (const auto text : {"<a>x\0y</a>"sv, "<a/>\0"sv, "\xff\xfe<\0a\0/\0>\0"sv})
        EXPECT_EQ(refusal(text), "zero byte in text");
}

TEST(XmlDocument, NamesAreComparedWhole) {
    const auto document = parsed("<a>text<!-- c --><b i='1'/><bb/><b i='2'/>x<B/></a>");
    const XmlNode root = document->root();
    EXPECT_EQ(root.child().attribute("i"), "1");
    EXPECT_EQ(root.child("b").next("b").attribute("i"), "2");
    EXPECT_EQ(root.child("b").next().name(), "bb");
    EXPECT_EQ(root.child("B").name(), "B");
    EXPECT_FALSE(root.child("B").next());
    EXPECT_FALSE(root.child("c"));
    EXPECT_EQ(root.child("b").attribute("I"), std::nullopt);
    EXPECT_EQ(root.text(), "textx");
    int found = 0;
    for_each_child(root, "b", [&found](XmlNode) { ++found; });
    EXPECT_EQ(found, 2);
}

TEST(XmlDocument, NestingIsBounded) {
    EXPECT_TRUE(parsed(nested(64)));
    EXPECT_TRUE(parsed("<a>" + nested(63) + "<b/>" + nested(63) + "</a>"));
    const std::string too_deep[] = {nested(65), repeated("<a>", 64) + "<a/>" + repeated("</a>", 64),
                                    nested(30'000), repeated("<a>", 80'000),
                                    repeated("<a b='>'>", 80'000)};
    for (const auto &text : too_deep)
        EXPECT_EQ(refusal(text), "nested too deep");
}

/// What a cancel and the deadline rely on in the middle of a large answer, whatever it is made of.
TEST(XmlDocument, LongWorkIsEndedByItsCheckpoint) {
    int calls_left = 0;
    const auto checkpoint = [&calls_left] {
        if (--calls_left == 0)
            throw Interrupted();
    };
    const auto log = [](XmlNode root) { masked_message(root, MessageDirection::received); };
    const auto read = [](XmlNode root) {
        root.text();
        root.attribute("b");
        root.attribute("none");
        for_each_child(root, "b", [](XmlNode) {});
    };
    constexpr int many = 2 * PacedCheckpoint::interval;
    for (const auto &text :
         {"<a>" + repeated("&", many) + "</a>", "<a>" + repeated("<b/>", many) + "</a>",
          "<a>" + repeated("<!---->", many) + "</a>", "<a b='" + repeated("&lt;", many) + "'/>",
          "<a" + repeated(" b=''", many) + "/>"}) {
        std::string error;
        calls_left = 2;
        EXPECT_THROW(XmlDocument::parse(SecureText(text), error, checkpoint), Interrupted)
            << text.substr(0, 9);
        calls_left = 1'000;
        const auto document = XmlDocument::parse(SecureText(text), error, checkpoint);
        for (const auto &walk : {+log, +read}) {
            calls_left = 2;
            EXPECT_THROW(walk(document->root()), Interrupted) << text.substr(0, 9);
        }
    }
}

} // namespace
} // namespace kavro
