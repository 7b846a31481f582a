/* Sends the password that is the standard input, wipes its own copy, says the result and waits:
 * what is left in its memory is for another process to see.
 *
 *   wiped_caller PORT [cancels]
 */
#define _DEFAULT_SOURCE
#include "kavro_broker_extras.h"

#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static kavro_broker_handle broker;
static int waits_to_cancel;

static void cancel(int signal_number) {
    (void)signal_number;
    kavro_broker_cancel(broker);
}

/* Cancels when the password is on its way, and from then on until that has an effect. Does nothing
 * else: to format a line would overwrite the registers. */
static void watch(int32_t category, int32_t severity, int32_t error, const char *format,
                  va_list arguments) {
    char line[100];
    (void)category, (void)severity, (void)error;
    if (!waits_to_cancel)
        return;
    vsnprintf(line, sizeof line, format, arguments);
    if (strstr(line, "<password>") != NULL) {
        waits_to_cancel = 0;
        ualarm(20000, 20000);
    }
}

/* Many times over, so that a piece of it is in whatever is copied last. */
static int send_password(void) {
    enum { length = 48, times = 20 };
    char password[times * length + 1] = {0};
    volatile char *wiped = password;
    size_t i;
    kavro_broker_result result;
    if (read(STDIN_FILENO, password, length) != length)
        return 0;
    for (i = length; i < times * length; ++i)
        password[i] = password[i - length];
    result = kavro_broker_send_password(broker, "alice", "EXAMPLE", password);
    ualarm(0, 0);
    for (i = 0; i < sizeof password; ++i)
        wiped[i] = 0;
    return write(STDOUT_FILENO, &result, sizeof result) == (ssize_t)sizeof result;
}

int main(int argc, char **argv) {
    char end;
    waits_to_cancel = argc > 2;
    signal(SIGALRM, cancel);
    kavro_broker_set_log_function(watch);
    if (argc < 2 || kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &broker) != KAVRO_BROKER_OK)
        return 1;
    kavro_broker_set_client_info(broker, "caller", "1", "Linux");
    kavro_broker_set_broker_address(broker, "127.0.0.1", argv[1]);
    kavro_broker_fail_if_unverified(broker, 0);
    return send_password() && read(STDIN_FILENO, &end, 1) == 0 ? 0 : 1;
}
