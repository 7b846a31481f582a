#include "scenario.h"

#include <gtest/gtest.h>

using namespace broker_sim;

TEST(Scenario, ErrorsNameTheKey) {
    const std::pair<const char *, const char *> cases[] = {
        {R"({"userz": []})", "userz: unknown key"},
        {R"({"users": [{"username": "a", "password": "b"}, {"username": "c"}]})",
         "users[1].password: is missing"},
        {R"({"broker": {"version": "3.0"}})", "broker.version: must be \"2.0\" or \"2.1\""},
        {R"({"listen": {"port": 65536}})", "listen.port: must be a whole number from 0 to 65535"},
        {R"({"tls": {"expired": 1}})", "tls.expired: must be true or false"},
        {R"({"tls": {"client_certificate": "any"}})",
         "tls.client_certificate: must be one of: none, required"},
        {R"({"authentication": [{"methods": ["pasword"]}]})",
         "authentication[0].methods[0]: must be password, disclaimer, dialog, oauth or a keyword "
         "in capitals"},
        {R"({"authentication": [{"methods": ["oauth"], "oauth": {"code": "x", "username": "y"}}]})",
         "authentication[0]: oauth names the unknown user y"},
        {R"({"desktops": [{"name": "n", "id": "i", "operations": ["CMD_FLY"]}]})",
         "desktops[0].operations[0]: is no power operation"},
        {R"({"proxy": {"log_in": ["kerberos"]}})",
         "proxy.log_in[0]: must be basic, digest, digest-md5, negotiate or ntlm"},
        {R"({"faults": [{"request": "helo"}]})",
         "faults[0].request: is no request of the protocol"},
        {R"({"desktops": [{"name": "n", "id": "i", "allocation": {"provisioned": true}}]})",
         "scenario: an allocation is provisioned, but there is no provisioning server"},
        {R"({"faults": [{"stage": "accept", "ending": "fin"}]})",
         "faults[0]: at the stage \"accept\" the ending must be \"stall\" or \"reset\""},
        {R"({"faults": [{"stage": "handshake", "request": "hello"}]})",
         "faults[0]: the request is not known before the stage \"response\""},
    };
    for (const auto &[json, complaint] : cases)
        try {
            Scenario::parse(json);
            ADD_FAILURE() << json;
        } catch (const ScenarioError &error) {
            EXPECT_STREQ(error.what(), complaint);
        }
    EXPECT_THROW(Scenario::parse("{"), ScenarioError);
    EXPECT_THROW(Scenario::load("no/such/file.json"), ScenarioError);
}
