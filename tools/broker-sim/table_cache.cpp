#include "table_cache.h"

#include <zlib.h>

#include <new>

namespace broker_sim {

std::string table_cache(std::string_view json) {
    std::string cache;
    for (unsigned shift = 0; shift < 32; shift += 8)
        cache += static_cast<char>(json.size() >> shift);
    const std::size_t start = cache.size();
    uLongf size = compressBound(json.size());
    cache.resize(start + size);
    if (compress(reinterpret_cast<Bytef *>(cache.data() + start), &size,
                 reinterpret_cast<const Bytef *>(json.data()), json.size()) != Z_OK)
        throw std::bad_alloc();
    cache.resize(start + size);
    return cache;
}

} // namespace broker_sim
