#pragma once
#include <string>
#include <string_view>

namespace broker_sim {

/// The content of a client's cache file for this table: the length of the text as four bytes,
/// lowest first, then the text as a zlib stream.
std::string table_cache(std::string_view json);

} // namespace broker_sim
