#pragma once

#include <string>

namespace kavro {

// The lookup table on disk: "conversion_table.dat" holds the length of the JSON text (four bytes,
// the lowest first) and the text as a zlib stream.

/// Where the table is kept. @throws std::runtime_error when there is no folder for it.
std::string table_cache_file(const std::string &folder);

/// The file as it is. @throws std::runtime_error when there is none to be read.
std::string read_table_cache(const std::string &folder);

/// The JSON text that such a file holds. @throws std::runtime_error when it is damaged.
std::string unpacked_table(const std::string &file);

/// Replaces the cached table; whatever happens meanwhile, the old one or the new one is there.
/// @throws std::runtime_error when that fails; the old one is still there then.
void write_table_cache(const std::string &folder, const std::string &json);

} // namespace kavro
