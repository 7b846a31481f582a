/* Ctrl-C ends the request that is running, and nothing else: the program goes on behind it.
 *
 *   interrupt ADDRESS PORT
 */
#include "kavro_broker_extras.h"

#include <signal.h>
#include <stdio.h>
#include <stdlib.h>

static kavro_broker_handle broker;

static void cancel_request(int signal_number) {
    (void)signal_number;
    kavro_broker_cancel(broker); /* may be called here, as few functions may */
}

static void keep_no_log(int32_t category, int32_t severity, int32_t error, const char *format,
                        va_list arguments) {
    (void)category, (void)severity, (void)error, (void)format, (void)arguments;
}

int main(int argc, char **argv) {
    kavro_broker_result result;
    uint32_t method;
    if (argc != 3) {
        fprintf(stderr, "usage: %s ADDRESS PORT\n", argv[0]);
        return 2;
    }
    kavro_broker_set_log_function(keep_no_log);
    if (kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &broker) != KAVRO_BROKER_OK)
        return EXIT_FAILURE;
    kavro_broker_set_broker_address(broker, argv[1], argv[2]);
    kavro_broker_set_client_info(broker, "interrupt", "1.0", "C99");

    signal(SIGINT, cancel_request);
    puts("Asking the broker; Ctrl-C gives up.");
    fflush(stdout);
    result = kavro_broker_get_auth_method(broker, &method);
    puts(kavro_broker_result_text(result));

    signal(SIGINT, SIG_IGN); /* no cancel may reach a handle that is gone */
    kavro_broker_free(broker);
    return result == KAVRO_BROKER_OK ? EXIT_SUCCESS : EXIT_FAILURE;
}
