#include "xml/xml_message_log.h"

#include <gtest/gtest.h>

namespace kavro {
namespace {

constexpr auto sending = MessageDirection::sending;
constexpr auto received = MessageDirection::received;

std::string masked(std::string_view text, MessageDirection direction) {
    std::string error;
    const auto document = XmlDocument::parse(SecureText(text), error);
    return masked_message(document ? document->root() : XmlNode(), direction);
}

constexpr const char *hidden = "Protected Info *****";

struct Row {
    const char *text;
    const char *shown;
};

TEST(MaskedMessage, ShowsWhatIsNoSecret) {
    const Row rows[] = {
        // Indented, whatever the message was.
        {"<?xml version='1.0'?>\r\n<kavro-client version='2.1'>\r\n<bye/>\r\n</kavro-client>\r\n",
         "<kavro-client version=\"2.1\">\n  <bye></bye>\n</kavro-client>\n"},
        {"<hello a='&lt;&quot;'>x<cap>C &amp; D</cap> y <cap/></hello>",
         "<hello a=\"&lt;&quot;\">x y \n  <cap>C &amp; D</cap>\n  <cap></cap>\n</hello>\n"},
        {"<hello><cap/><cap/>y</hello>", "<hello>y\n  <cap></cap>\n  <cap></cap>\n</hello>\n"},
        {"<x><y><bye-resp>  </bye-resp></y></x>",
         "<x>\n  <y>\n    <bye-resp>  </bye-resp>\n  </y>\n</x>\n"},
        // Nobody forges a line or reaches the terminal.
        {"<hello a='1&#10;2'>x\r\n(0) y\t\x7f[2J</hello>",
         "<hello a=\"1\\x0A2\">x\\x0D\\x0A(0) y\\x09\\x7F[2J</hello>\n"},
        {"<hello><x\x7f[2J y\x7f='1'/></hello>",
         "<hello>\n  <x\\x7F[2J y\\x7F=\"1\"></x\\x7F[2J>\n</hello>\n"},
        {"<hello>%s%n\xc3\xbc</hello>", "<hello>%s%n\xc3\xbc</hello>\n"},
        // Nothing besides a sensitive element.
        {"<authenticate><username>ann</username><password>p</password><domain>d</domain>"
         "</authenticate>",
         "    <username> *****</username>\n    <password> *****</password>\n"},
        {"<update-password><old-password>o</old-password><new-password>n</new-password>"
         "<username>ann</username></update-password>",
         "    <username> *****</username>\n    <new-password> *****</new-password>\n"
         "    <old-password> *****</old-password>\n"},
        {"<hello><x><k:PassWord>p</k:PassWord></x></hello>", "    <password> *****</password>\n"},
        {"<x><username/></x>", "    <username> *****</username>\n"},
        {"<password><password>p</password></password>", "    <password> *****</password>\n"},
        {"<hello>password<passwords>1</passwords><my-password>2</my-password></hello>",
         "<hello>password\n  <passwords>1</passwords>\n  <my-password>2</my-password>\n</hello>\n"},
        // Nothing in an element that is marked or carries a token.
        {"<hello><text do-not-log=\"true\">s</text><text>shown</text></hello>",
         "<hello>\n  <text do-not-log=\"true\">*****</text>\n  <text>shown</text>\n</hello>\n"},
        {"<hello><text a='1' do-not-log='TRUE' b='2'>s&lt;/text><text>s</text></text></hello>",
         "<hello>\n  <text a=\"1\" do-not-log=\"TRUE\" b=\"2\">*****</text>\n</hello>\n"},
        {"<hello><text do-not-log=''/><text do-not-log='false'>shown</text></hello>",
         "<hello>\n  <text do-not-log=\"\">*****</text>\n"
         "  <text do-not-log=\"false\">shown</text>\n</hello>\n"},
        {"<hello><text do-not-log='false' do-not-log='true'>s</text></hello>",
         "<hello>\n  <text do-not-log=\"false\" do-not-log=\"true\">*****</text>\n</hello>\n"},
        {"<hello><text k:Do-Not-Log='1'>s</text></hello>",
         "<hello>\n  <text k:Do-Not-Log=\"1\">*****</text>\n</hello>\n"},
        {"<hello do-not-log='true'><password>p</password></hello>",
         "<hello do-not-log=\"true\">*****</hello>\n"},
        {"<hello><oauth-code>c</oauth-code><gateway-ticket><x>t</x></gateway-ticket>"
         "<k:JSessionId><![CDATA[s]]></k:JSessionId><gateway-tickets>shown</gateway-tickets>"
         "</hello>",
         "<hello>\n  <oauth-code>*****</oauth-code>\n  <gateway-ticket>*****</gateway-ticket>\n"
         "  <k:JSessionId>*****</k:JSessionId>\n  <gateway-tickets>shown</gateway-tickets>\n"
         "</hello>\n"},
        // Nothing of an unknown message.
        {"<x><y>hello</y></x>", hidden},
        {"<HELLO/>", hidden},
        {"<k:hello/>", hidden},
        {"<x do-not-log='true'><hello/></x>", hidden},
        {"", hidden},
        {"<!-- <hello/> -->", hidden},
        {"<authenticate><password>p<q</password></authenticate>", hidden},
    };
    for (const auto &[text, shown] : rows)
        for (const auto direction : {sending, received})
            EXPECT_EQ(masked(text, direction), shown) << text;
}

TEST(MaskedMessage, ShowsTheEndOfAReceivedConnectTag) {
    const Row rows[] = {
        {"<target><connect-tag>secret-0123456789ab</connect-tag></target>",
         "<target>\n  <connect-tag>*****0123456789ab</connect-tag>\n</target>\n"},
        {"<target><connect-tag>0123456789abc</connect-tag><k:Connect-Tag>secret&lt;123456789\x7f"
         "b</k:Connect-Tag></target>",
         "<target>\n  <connect-tag>*****123456789abc</connect-tag>\n"
         "  <k:Connect-Tag>*****&lt;123456789\\x7Fb</k:Connect-Tag>\n</target>\n"},
        {"<target><connect-tag>0123456789ab</connect-tag></target>",
         "Error parsing the connect-tag - <target>\n  <connect-tag>*****</connect-tag>\n"
         "</target>\n"},
        {"<target><connect-tag><x>secret-0123456789ab</x></connect-tag></target>",
         "Error parsing the connect-tag - <target>\n  <connect-tag>*****</connect-tag>\n"
         "</target>\n"},
        {"<target><connect-tag do-not-log='true'>secret-0123456789ab</connect-tag></target>",
         "<target>\n  <connect-tag do-not-log=\"true\">*****</connect-tag>\n</target>\n"},
    };
    for (const auto &[text, shown] : rows)
        EXPECT_EQ(masked(text, received), shown) << text;
    EXPECT_EQ(masked("<target><connect-tag>t</connect-tag></target>", sending),
              "<target>\n  <connect-tag>t</connect-tag>\n</target>\n");
}

} // namespace
} // namespace kavro
