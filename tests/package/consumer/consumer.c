#include <kavro_broker_extras.h>

#include <stdio.h>
#include <string.h>

#if !KAVRO_BROKER_VERSION_AT_LEAST(1, 0)
#error "the header is older than the first version"
#endif
#if KAVRO_BROKER_VERSION_AT_LEAST(KAVRO_BROKER_VERSION_MAJOR, KAVRO_BROKER_VERSION_MINOR + 1)
#error "the header claims to be newer than it is"
#endif

static void ignore(int32_t category, int32_t severity, int32_t error, const char *format,
                   va_list arguments) {
    (void)category, (void)severity, (void)error, (void)format, (void)arguments;
}

/* The library that was loaded belongs to the header that was compiled, and serves. */
int main(void) {
    kavro_broker_handle handle = NULL;
    char expected[64];
    snprintf(expected, sizeof expected, "broker_client %d.%d.%d", KAVRO_BROKER_VERSION_MAJOR,
             KAVRO_BROKER_VERSION_MINOR, KAVRO_BROKER_VERSION_PATCH);
    kavro_broker_set_log_function(ignore);
    if (strcmp(expected, kavro_broker_get_version()) != 0 ||
        kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &handle) != KAVRO_BROKER_OK)
        return 1;
    kavro_broker_free(handle);
    return 0;
}
