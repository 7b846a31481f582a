#include "random_xml.h"
#include "transport/xml_document.h"
#include "transport/xml_message_log.h"

#include <gtest/gtest.h>

#include <pthread.h>

namespace kavro {
namespace {

using namespace std::string_literals;

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

std::string repeated(const std::string &text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
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
        {"<a>&lt;&gt;&amp;&quot;&apos;&#65;&#x42;&#xfc;</a>",
         "<a>&lt;&gt;&amp;&quot;&apos;AB\xc3\xbc</a>"},
        {"<a>&unknown; & &amp</a>", "<a>&amp;unknown; &amp; &amp;amp</a>"},
        {"<a>x<!-- </a> -->y<?pi </a> ?>z</a>", "<a>xyz</a>"},
        {"<!-- c --><?pi?><a/>", "<a></a>"},
        {"\xef\xbb\xbf<?xml version='1.0'?>\r\n<a/>\r\n", "<a></a>"},
        {"<a/><b/>", "<a></a>"},
        {"<a b=\"1\" c='\"&lt;>' b='2'/>", "<a b=\"1\" c=\"&quot;&lt;&gt;\" b=\"2\"></a>"},
        {"<a b = \"\n\" ></a >", "<a b=\"\n\"></a>"},
        {"<k:a k:b=''>\xff\xfe</k:a>", "<k:a k:b=\"\">\xff\xfe</k:a>"},
        {"<a>x&#0;y</a>", "<a>x\0y</a>"s},
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

TEST(XmlDocument, RefusesWhatIsMalformed) {
    const std::string rows[] = {"text",
                                "<a>",
                                "<a></b>",
                                "<a><b></a></b>",
                                "</a>",
                                "<a></a></a>",
                                "<a/>text",
                                "<>",
                                "< a/>",
                                "<a",
                                "<a b>",
                                "<a b=c/>",
                                "<a b=\"c/>",
                                "<a b='1'c/>",
                                "<a/ >",
                                "<a//>",
                                "<a b='<'",
                                "<a=b/>",
                                "<a\"b/>",
                                "<a><!-- </a>",
                                "<a><![CDATA[ </a>",
                                "<a><![CDATA [x]]></a>",
                                "<a><!-><b/>--></a>",
                                "<a><? </a>",
                                "<!DOCTYPE a [<!ENTITY x \"y\">]><a>&x;</a>",
                                "<!doctype a><a/>",
                                "<a>&#x110000;</a>",
                                "<a>&#65</a>",
                                "<a b='&#99999999999;'/>",
                                "<a>x\0y</a>"s,
                                "<a/>\0"s,
                                "\xff\xfe<\0a\0/\0>\0"s,
                                "\0<\0a\0/\0>"s,
                                "\xff\xfe\x3c\x2f\x3e"};
    for (const auto &text : rows) {
        std::string error;
        EXPECT_FALSE(XmlDocument::parse(SecureText(text), error)) << text;
        EXPECT_FALSE(error.empty()) << text;
    }
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
    for (const auto &text : too_deep) {
        std::string error;
        EXPECT_FALSE(XmlDocument::parse(SecureText(text), error)) << text.substr(0, 100);
        EXPECT_EQ(error, "nested too deep");
    }
}

TEST(XmlDocument, DeepestDocumentFitsASmallStack) {
    const auto work = [](void *) -> void * {
        const auto document = parsed(nested(64));
        EXPECT_EQ(rewritten(document->root()), nested(64));
        masked_message(document->root(), MessageDirection::received);
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, work, nullptr), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

/// How the document's element differs from what is meant; empty when it does not.
std::string difference(const Element &meant, XmlNode element) {
    if (element.name() != meant.name || element.text() != meant.text())
        return "name or text of " + meant.name;
    std::size_t attributes = 0;
    element.for_each_attribute([&attributes](const xml::RawAttribute &) { ++attributes; });
    if (attributes != meant.attributes.size())
        return "attributes of " + meant.name;
    for (const auto &[name, value] : meant.attributes) {
        if (element.attribute(name) != value)
            return "attribute " + name;
    }
    XmlNode child = element.child();
    for (const Element &meant_child : meant.children) {
        if (!child)
            return "children of " + meant.name;
        if (const auto deeper = difference(meant_child, child); !deeper.empty())
            return deeper;
        child = child.next();
    }
    return child ? "children of " + meant.name : "";
}

TEST(XmlDocument, RewrittenTreesReadBackAsTheSame) {
    RandomXml random(4711);
    for (int round = 0; round < 2'000; ++round) {
        const Element meant = random.element(4);
        const std::string text = random.spelt(meant);
        const auto document = parsed(text);
        ASSERT_TRUE(document) << text;
        ASSERT_EQ(difference(meant, document->root()), "") << text;
        const std::string again = rewritten(document->root());
        const auto reread = parsed(again);
        ASSERT_TRUE(reread) << again;
        ASSERT_EQ(difference(meant, reread->root()), "") << again;
    }
}

} // namespace
} // namespace kavro
