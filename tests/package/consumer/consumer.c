#include <kavro_broker_extras.h>

#include <stdio.h>
#include <string.h>

#if !KAVRO_BROKER_VERSION_AT_LEAST(1, 0)
#error "the header is older than the first version"
#endif
#if KAVRO_BROKER_VERSION_AT_LEAST(KAVRO_BROKER_VERSION_MAJOR, KAVRO_BROKER_VERSION_MINOR + 1)
#error "the header claims to be newer than it is"
#endif

static int lines;

static void count_line(int32_t category, int32_t severity, int32_t error, const char *format,
                       va_list arguments) {
    (void)category;
    (void)severity;
    (void)error;
    vprintf(format, arguments);
    putchar('\n');
    ++lines;
}

/* Whether the library that was loaded belongs to the header that was compiled. */
static int versions_agree(void) {
    char expected[64];
    snprintf(expected, sizeof expected, "broker_client %d.%d.%d", KAVRO_BROKER_VERSION_MAJOR,
             KAVRO_BROKER_VERSION_MINOR, KAVRO_BROKER_VERSION_PATCH);
    return strcmp(expected, kavro_broker_get_version()) == 0;
}

int main(void) {
    kavro_broker_handle handle = NULL;
    kavro_broker_set_log_function(count_line);
    kavro_broker_result result = kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &handle);
    kavro_broker_free(handle);
    printf("%s: %s\n", kavro_broker_get_version(), kavro_broker_result_text(result));
    return result == KAVRO_BROKER_OK && lines > 0 && versions_agree() ? 0 : 1;
}
