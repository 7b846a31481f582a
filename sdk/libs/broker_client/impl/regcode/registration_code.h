#pragma once

#include "regcode/aws_regcode_downloader.h"
#include "utils/src/checkpoint.h"

#include <string>
#include <string_view>

namespace kavro {

/// The broker address that a registration code stands for; empty when the table does not know the
/// code or there is no table. Only the cached table is asked: this never contacts anybody.
///
/// @param url "https://" with the code behind it. What follows a plus sign does not count.
/// @param checkpoint ends the reading of a large table; nothing else is thrown.
std::string convert_registration_code(std::string_view url, const Checkpoint &checkpoint = {});

/// Sets the folder of the cached table, for the whole process, wherever that goes later. Empty:
/// there is none.
void set_cache_location(std::string folder);

/// Downloads the table and replaces the cached one. Whatever fails is logged, and the cached table
/// stays as it was.
void update_lookup_table(const RegistrationService &service);

} // namespace kavro
