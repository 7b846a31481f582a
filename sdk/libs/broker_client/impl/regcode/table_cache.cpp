#include "regcode/table_cache.h"

#include "regcode/lookup_table.h"
#include "utils/src/safe_file.h"

#include <zlib.h>

#include <stdexcept>

namespace kavro {

namespace {

constexpr std::size_t length_bytes = 4;

std::string packed(const std::string &json) {
    std::string file(length_bytes + compressBound(json.size()), '\0');
    for (std::size_t i = 0; i < length_bytes; ++i)
        file[i] = static_cast<char>(json.size() >> (8 * i));
    uLongf stream_length = file.size() - length_bytes;
    if (compress(reinterpret_cast<Bytef *>(file.data()) + length_bytes, &stream_length,
                 reinterpret_cast<const Bytef *>(json.data()), json.size()) != Z_OK)
        throw std::runtime_error("The table cannot be compressed");
    file.resize(length_bytes + stream_length);
    return file;
}

} // namespace

std::string table_cache_file(const std::string &folder) {
    if (folder.empty())
        throw std::runtime_error("Cache location not specified");
    return folder + "/conversion_table.dat";
}

std::string read_table_cache(const std::string &folder) {
    const std::size_t limit = length_bytes + compressBound(LookupTable::max_bytes);
    auto file = read_plain_file(table_cache_file(folder), limit);
    if (!file)
        throw std::runtime_error("conversion_table.dat cannot be read");
    return std::move(*file);
}

/// The stated length bounds what a stream can unfold to, and must be met exactly.
std::string unpacked_table(const std::string &file) {
    const std::runtime_error damaged("conversion_table.dat is damaged");
    if (file.size() < length_bytes)
        throw damaged;
    std::size_t length = 0;
    for (std::size_t i = 0; i < length_bytes; ++i)
        length |= std::size_t{static_cast<unsigned char>(file[i])} << (8 * i);
    if (length > LookupTable::max_bytes)
        throw damaged;

    std::string json(length, '\0');
    uLongf unfolded = length;
    uLong stream_length = file.size() - length_bytes;
    const uLong whole_stream = stream_length;
    const int result =
        uncompress2(reinterpret_cast<Bytef *>(json.data()), &unfolded,
                    reinterpret_cast<const Bytef *>(file.data()) + length_bytes, &stream_length);
    if (result != Z_OK || unfolded != length || stream_length != whole_stream)
        throw damaged;
    return json;
}

void write_table_cache(const std::string &folder, const std::string &json) {
    if (replace_file(table_cache_file(folder), packed(json)))
        throw std::runtime_error("conversion_table.dat cannot be written");
}

} // namespace kavro
