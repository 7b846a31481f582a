// A whole conversation with a broker in C++: log in with a password, list the desktops, ask for the
// first one, log out.
//
//   conversation_cpp ADDRESS PORT USER DOMAIN < file with the password
#include "kavro_broker.hpp"

#include <chrono>
#include <cstdlib>
#include <iostream>

namespace {

/// Answers what the broker asks for, until it asks for nothing more.
void log_in(kavro_broker::broker &broker, const std::string &user, const std::string &domain,
            const std::string &password) {
    while (const auto method = broker.auth_method()) {
        if (method == KAVRO_BROKER_AUTH_METHOD_DISCLAIMER)
            broker.send_accept_disclaimer(true);
        else if (method == KAVRO_BROKER_AUTH_METHOD_PASSWORD)
            broker.send_password(kavro_broker::escape_text(user), kavro_broker::escape_text(domain),
                                 kavro_broker::escape_text(password));
        else
            throw kavro_broker::error(KAVRO_BROKER_ERR_NOT_IMPLEMENTED);
    }
}

void show_target(kavro_broker::broker &broker, const std::string &id) {
    try {
        const auto target = broker.connect_to_desktop(id).target;
        std::cout << id << " waits at " << target.address << ", port " << target.port << '\n';
    } catch (const kavro_broker::error &error) {
        if (error.code() != KAVRO_BROKER_ERR_CONNECT_DESKTOP_PENDING)
            throw;
        std::cout << id << " is being made ready; ask again later\n";
    }
}

} // namespace

int main(int count, char **arguments) {
    std::string password;
    if (count != 5 || !std::getline(std::cin, password)) {
        std::cerr << "usage: " << arguments[0] << " ADDRESS PORT USER DOMAIN < PASSWORD-FILE\n";
        return 2;
    }
    kavro_broker::set_log_function([](const kavro_broker::log_message &message) {
        if (message.severity == KAVRO_BROKER_LOG_ERROR)
            std::cerr << "log: " << message.text << '\n';
    });
    try {
        kavro_broker::broker broker;
        broker.set_broker_address(arguments[1], arguments[2]);
        broker.set_client_info("conversation", "1.0", "C++17");
        broker.keep_connection(std::chrono::minutes(1));

        log_in(broker, arguments[3], arguments[4], password);
        const auto desktops = broker.request_desktop_list();
        for (std::size_t i = 0; i < desktops.size(); ++i)
            std::cout << "desktop " << i << ": " << desktops[i].name << '\n';
        if (!desktops.empty())
            show_target(broker, desktops.front().id);
        broker.clear_session();
        return EXIT_SUCCESS;
    } catch (const kavro_broker::error &error) {
        std::cerr << arguments[0] << ": " << error.name() << ": " << error.what() << '\n';
        return EXIT_FAILURE;
    }
}
