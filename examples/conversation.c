/* A whole conversation with a broker in C: log in with a password, list the desktops, ask for the
 * first one, log out.
 *
 *   conversation ADDRESS PORT USER DOMAIN < file with the password
 */
#include "kavro_broker.h"
#include "kavro_broker_extras.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void print_errors(int32_t category, int32_t severity, int32_t error, const char *format,
                         va_list arguments) {
    (void)category;
    (void)error;
    if (severity != KAVRO_BROKER_LOG_ERROR)
        return;
    fputs("log: ", stderr);
    vfprintf(stderr, format, arguments);
    fputc('\n', stderr);
}

/* Tells what failed, in the broker's words where it sent any. */
static int report(kavro_broker_handle broker, const char *what, kavro_broker_result result) {
    char message[256];
    size_t length = sizeof message;
    if (kavro_broker_get_broker_error_message(broker, message, &length) != KAVRO_BROKER_OK)
        message[0] = '\0';
    fprintf(stderr, "%s: result %u %s\n", what, (unsigned)result, message);
    return EXIT_FAILURE;
}

/* What a user typed may hold characters that stand for something else in a request. */
static kavro_broker_result send_typed_password(kavro_broker_handle broker, const char *user,
                                               const char *domain, const char *password) {
    const char *const typed[] = {user, domain, password};
    char texts[3][2048];
    kavro_broker_result result = KAVRO_BROKER_OK;
    for (size_t i = 0; result == KAVRO_BROKER_OK && i < 3; ++i) {
        size_t size = sizeof texts[i];
        result = kavro_broker_escape_text(typed[i], texts[i], &size);
    }
    if (result == KAVRO_BROKER_OK)
        result = kavro_broker_send_password(broker, texts[0], texts[1], texts[2]);
    memset(texts, 0, sizeof texts);
    return result;
}

/* Answers what the broker asks for, until it asks for nothing more. */
static kavro_broker_result log_in(kavro_broker_handle broker, const char *user, const char *domain,
                                  const char *password) {
    uint32_t method;
    kavro_broker_result result = kavro_broker_get_auth_method(broker, &method);
    while (result == KAVRO_BROKER_OK && method != KAVRO_BROKER_AUTH_METHOD_NONE) {
        if (method == KAVRO_BROKER_AUTH_METHOD_DISCLAIMER)
            result = kavro_broker_send_accept_disclaimer(broker, 1);
        else if (method == KAVRO_BROKER_AUTH_METHOD_PASSWORD)
            result = send_typed_password(broker, user, domain, password);
        else
            return KAVRO_BROKER_ERR_NOT_IMPLEMENTED;
        if (result == KAVRO_BROKER_OK)
            result = kavro_broker_get_auth_method(broker, &method);
    }
    return result;
}

static kavro_broker_result show_target(kavro_broker_handle broker, kavro_broker_desktop_list list) {
    kavro_broker_desktop desktop;
    kavro_broker_desktop_connection connection;
    kavro_broker_desktop_connection_info target;
    kavro_broker_result result = kavro_broker_get_desktop(list, 0, &desktop, sizeof desktop);
    if (result == KAVRO_BROKER_OK)
        result = kavro_broker_connect_to_desktop(broker, desktop.id.data, NULL, &target);
    if (result == KAVRO_BROKER_ERR_CONNECT_DESKTOP_PENDING) {
        printf("%s is being made ready; ask again later\n", desktop.id.data);
        return KAVRO_BROKER_OK;
    }
    if (result != KAVRO_BROKER_OK)
        return result;
    result = kavro_broker_get_desktop_connection(target, &connection, sizeof connection);
    if (result == KAVRO_BROKER_OK)
        printf("%s waits at %s, port %s\n", desktop.id.data, connection.address.data,
               connection.port.data);
    kavro_broker_free_desktop_connection_info(target);
    return result;
}

static kavro_broker_result show_desktops(kavro_broker_handle broker) {
    kavro_broker_desktop_list list;
    uint32_t count = 0;
    kavro_broker_result result = kavro_broker_request_desktop_list(broker, &list);
    if (result != KAVRO_BROKER_OK)
        return result;
    result = kavro_broker_get_num_desktops(list, &count);
    for (uint32_t i = 0; result == KAVRO_BROKER_OK && i < count; ++i) {
        kavro_broker_desktop desktop;
        result = kavro_broker_get_desktop(list, i, &desktop, sizeof desktop);
        if (result == KAVRO_BROKER_OK)
            printf("desktop %u: %s\n", (unsigned)i, desktop.name.data);
    }
    if (result == KAVRO_BROKER_OK && count > 0)
        result = show_target(broker, list);
    kavro_broker_free_desktop_list(list);
    return result;
}

int main(int argc, char **argv) {
    kavro_broker_handle broker;
    kavro_broker_result result;
    char password[256];
    if (argc != 5 || fgets(password, sizeof password, stdin) == NULL) {
        fprintf(stderr, "usage: %s ADDRESS PORT USER DOMAIN < PASSWORD-FILE\n", argv[0]);
        return 2;
    }
    password[strcspn(password, "\n")] = '\0';

    kavro_broker_set_log_function(print_errors);
    result = kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &broker);
    if (result != KAVRO_BROKER_OK)
        return EXIT_FAILURE;
    kavro_broker_set_broker_address(broker, argv[1], argv[2]);
    kavro_broker_set_client_info(broker, "conversation", "1.0", "C99");
    kavro_broker_keep_connection(broker, 60);

    result = log_in(broker, argv[3], argv[4], password);
    memset(password, 0, sizeof password);
    if (result == KAVRO_BROKER_OK)
        result = show_desktops(broker);
    if (result == KAVRO_BROKER_OK)
        result = kavro_broker_clear_session(broker);
    const int status = result == KAVRO_BROKER_OK ? EXIT_SUCCESS : report(broker, argv[0], result);
    kavro_broker_free(broker);
    return status;
}
