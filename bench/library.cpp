// This library through its C interface, verified, with its log formatted as a caller would.
#include "contender.h"

#include "kavro_broker.h"
#include "kavro_broker_extras.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

using namespace bench;

namespace {

/// Formats short messages and walks over the long ones, as whoever passes them on would.
void log_line(int32_t, int32_t, int32_t, const char *format, va_list arguments) {
    static volatile std::size_t logged;
    (void)logged;
    char line[1024];
    if (std::strcmp(format, "%s") == 0)
        logged = std::strlen(va_arg(arguments, const char *));
    else
        logged = static_cast<std::size_t>(std::vsnprintf(line, sizeof line, format, arguments));
}

void check(kavro_broker_result result, const char *what) {
    if (result != KAVRO_BROKER_OK)
        throw std::runtime_error(std::string(what) + ": " + kavro_broker_result_name(result));
}

class Library final : public Contender {
public:
    explicit Library(const Setup &setup) {
        ::setenv("SSL_CERT_FILE", setup.trust_file.c_str(), 1);
        ::setenv("SSL_CERT_DIR", "/nonexistent", 1);
        kavro_broker_set_log_function(log_line);
        if (!setup.log)
            kavro_broker_set_log_level(KAVRO_BROKER_LOG_ERROR);
        check(kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &broker_), "create");
        kavro_broker_set_broker_address(broker_, "127.0.0.1", setup.port.c_str());
        kavro_broker_set_client_info(broker_, "bench", "1.0", "Linux");
    }
    ~Library() override {
        kavro_broker_free_desktop_list(list_);
        kavro_broker_free(broker_);
    }

    void hello_and_operation() override {
        kavro_broker_set_locale(broker_, "en_US"); // the broker must be greeted again
        operation();
    }

    void keep_connection(bool keep) override {
        kavro_broker_keep_connection(broker_, keep ? 60 : 0);
    }

    void list() override {
        kavro_broker_free_desktop_list(list_);
        list_ = nullptr;
        check(kavro_broker_request_desktop_list(broker_, &list_), "list");
    }

    void log_in() override {
        keep_connection(true);
        kavro_broker_set_locale(broker_, "en_US"); // the broker must be greeted again
        uint32_t method = 0;
        check(kavro_broker_get_auth_method(broker_, &method), "method");
        check(kavro_broker_send_password(broker_, "alice", "EXAMPLE", "wonderland"), "password");
        check(kavro_broker_get_auth_method(broker_, &method), "method");
        list();
        kavro_broker_desktop_connection_info target = nullptr;
        check(kavro_broker_connect_to_desktop(broker_, "desktop", nullptr, &target), "allocation");
        kavro_broker_free_desktop_connection_info(target);
        keep_connection(false);
    }

    std::vector<Desktop> desktops() override {
        uint32_t count = 0;
        check(kavro_broker_get_num_desktops(list_, &count), "count");
        std::vector<Desktop> desktops(count);
        for (uint32_t index = 0; index < count; ++index) {
            Desktop &desktop = desktops[index];
            kavro_broker_desktop lent;
            check(kavro_broker_get_desktop(list_, index, &lent, sizeof lent), "desktop");
            desktop.name = {lent.name.data, lent.name.size};
            desktop.id = {lent.id.data, lent.id.size};
            desktop.type = {lent.type.data, lent.type.size};
            desktop.state = {lent.state.data, lent.state.size};
            desktop.health = {lent.health.data, lent.health.size};
            desktop.restart_allowed = (lent.operations & 1U) != 0;
        }
        return desktops;
    }

private:
    void operation() {
        check(kavro_broker_perform_desktop_operation(broker_, "desktop", 0), "operation");
    }

    kavro_broker_handle broker_ = nullptr;
    kavro_broker_desktop_list list_ = nullptr;
};

} // namespace

int main(int argc, char **argv) {
    return run_contender(argc, argv,
                         [](const Setup &setup) { return std::make_unique<Library>(setup); });
}
