#The same of the C++ headers,                                                                      \
    into build / reference / cpp / html.Their functions do what those of C do.
@INCLUDE = docs / Doxyfile PROJECT_NAME = "broker_client in C++" OUTPUT_DIRECTORY =
               build / reference / cpp INPUT =
                   sdk / libs / broker_client / kavro_broker.hpp sdk / libs / broker_client /
                   kavro_broker_records.hpp INPUT_FILTER = EXCLUDE_SYMBOLS =
                       kavro_broker::detail *OPTIMIZE_OUTPUT_FOR_C = NO EXTRACT_ALL =
                           YES GENERATE_TAGFILE = TAGFILES = build / reference / c.tag =../../ html
