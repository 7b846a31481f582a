#include <kavro_broker_extras.h>

#include <stdio.h>

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

int main(void) {
    kavro_broker_handle handle = NULL;
    kavro_broker_set_log_function(count_line);
    kavro_broker_result result = kavro_broker_create(KAVRO_BROKER_TYPE_KAVRO, &handle);
    kavro_broker_free(handle);
    printf("%s: %s\n", kavro_broker_get_version(), kavro_broker_result_text(result));
    return result == KAVRO_BROKER_OK && lines > 0 ? 0 : 1;
}
