#pragma once

#include "kavro/src/desktop_list.h"
#include "kavro/src/results.h"

// The records that callers own, each freed with its own export.

struct kavro_broker_desktop_list_record {
    kavro::DesktopListHandle desktops;
};

struct kavro_broker_desktop_connection_record {
    kavro::cDESKTOP_CONNECTION_RESULT connection;
};

struct kavro_broker_variable_list_record {
    kavro::Variables variables;
};
