/* A program whose thread must not wait, as one with a window: each request runs on a thread of its
 * own, and its result is handed back to the thread of the window.
 *
 *   event_loop ADDRESS PORT USER DOMAIN < file with the password
 */
#include "kavro_broker_extras.h"

#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct task task;
struct task {
    kavro_broker_result (*request)(task *); /* beside the window */
    void (*show)(task *);                   /* in its thread, once the request has returned */
    kavro_broker_result result;
    kavro_broker_handle broker;
    kavro_broker_desktop_list desktops;
    char user[256], domain[256], password[256];
};

/* The event loop: a toolkit has its own, and its own way to hand something to it, as g_idle_add()
 * of GTK, PostMessage() of Windows or QMetaObject::invokeMethod() of Qt. */

static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
static pthread_cond_t something_posted = PTHREAD_COND_INITIALIZER;
static task *posted;
static int exit_status = -1; /* while the window is open */

static void post(task *finished) {
    pthread_mutex_lock(&mutex);
    posted = finished; /* there is never more than one request under way */
    pthread_cond_signal(&something_posted);
    pthread_mutex_unlock(&mutex);
}

static task *next_posted(void) {
    task *next;
    pthread_mutex_lock(&mutex);
    while (posted == NULL)
        pthread_cond_wait(&something_posted, &mutex);
    next = posted;
    posted = NULL;
    pthread_mutex_unlock(&mutex);
    return next;
}

/* Requests. A button "Cancel" calls kavro_broker_cancel() from the window's thread; the request
 * returns KAVRO_BROKER_ERR_CANCELLED then, and is shown like any other. */

static void *carry_out(void *context) {
    task *asked = context;
    asked->result = asked->request(asked);
    post(asked);
    return NULL;
}

static void start(task *asked, kavro_broker_result (*request)(task *), void (*show)(task *)) {
    pthread_t thread;
    asked->request = request;
    asked->show = show;
    if (pthread_create(&thread, NULL, carry_out, asked) == 0)
        pthread_detach(thread);
    else
        exit_status = EXIT_FAILURE;
}

static kavro_broker_result answer(task *asked, uint32_t method) {
    if (method == KAVRO_BROKER_AUTH_METHOD_DISCLAIMER)
        return kavro_broker_send_accept_disclaimer(asked->broker, 1);
    if (method == KAVRO_BROKER_AUTH_METHOD_PASSWORD)
        return kavro_broker_send_password(asked->broker, asked->user, asked->domain,
                                          asked->password);
    return KAVRO_BROKER_ERR_NOT_IMPLEMENTED;
}

static kavro_broker_result log_in(task *asked) {
    uint32_t method;
    kavro_broker_result result = kavro_broker_get_auth_method(asked->broker, &method);
    while (result == KAVRO_BROKER_OK && method != KAVRO_BROKER_AUTH_METHOD_NONE) {
        result = answer(asked, method);
        if (result == KAVRO_BROKER_OK)
            result = kavro_broker_get_auth_method(asked->broker, &method);
    }
    return result;
}

static kavro_broker_result list_desktops(task *asked) {
    return kavro_broker_request_desktop_list(asked->broker, &asked->desktops);
}

/* What the window does with the results. */

static void close_window(task *finished) {
    if (finished->result != KAVRO_BROKER_OK)
        puts(kavro_broker_result_text(finished->result));
    exit_status = finished->result == KAVRO_BROKER_OK ? EXIT_SUCCESS : EXIT_FAILURE;
}

static void show_desktops(task *finished) {
    uint32_t i, count = 0;
    kavro_broker_desktop desktop;
    kavro_broker_get_num_desktops(finished->desktops, &count);
    for (i = 0; i < count; ++i)
        if (kavro_broker_get_desktop(finished->desktops, i, &desktop, sizeof desktop) ==
            KAVRO_BROKER_OK)
            printf("desktop %u: %s\n", (unsigned)i, desktop.name.data);
    close_window(finished);
}

static void go_on(task *finished) {
    if (finished->result == KAVRO_BROKER_OK)
        start(finished, list_desktops, show_desktops);
    else
        close_window(finished);
}

static void keep_no_log(int32_t category, int32_t severity, int32_t error, const char *format,
                        va_list arguments) {
    (void)category, (void)severity, (void)error, (void)format, (void)arguments;
}

/* What a user typed, as it goes into a request. */
static int escape(const char *typed, char *text, size_t size) {
    return kavro_broker_escape_text(typed, text, &size) == KAVRO_BROKER_OK;
}

int main(int argc, char **argv) {
    static task conversation;
    char typed[64];
    if (argc != 5 || fgets(typed, sizeof typed, stdin) == NULL) {
        fprintf(stderr, "usage: %s ADDRESS PORT USER DOMAIN < PASSWORD-FILE\n", argv[0]);
        return 2;
    }
    typed[strcspn(typed, "\n")] = '\0';
    if (!escape(argv[3], conversation.user, sizeof conversation.user) ||
        !escape(argv[4], conversation.domain, sizeof conversation.domain) ||
        !escape(typed, conversation.password, sizeof conversation.password))
        return EXIT_FAILURE;
    kavro_broker_set_log_function(keep_no_log);
    if (kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &conversation.broker) != KAVRO_BROKER_OK)
        return EXIT_FAILURE;
    kavro_broker_set_broker_address(conversation.broker, argv[1], argv[2]);
    kavro_broker_set_client_info(conversation.broker, "event_loop", "1.0", "C99");

    start(&conversation, log_in, go_on);
    while (exit_status < 0) {
        task *finished = next_posted(); /* here a window is redrawn, and buttons are pressed */
        finished->show(finished);
    }
    kavro_broker_free_desktop_list(conversation.desktops);
    kavro_broker_free(conversation.broker); /* no request runs any more */
    return exit_status;
}
