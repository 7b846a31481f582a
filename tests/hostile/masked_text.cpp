#include "hostile/masked_text.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

namespace hostile {

namespace {

/// Volatile, so that no compiler works with the plain text instead.
const volatile unsigned char mask = 0xA5;

constexpr std::size_t piece = 16;

struct Region {
    const unsigned char *begin;
    const unsigned char *end;
};

/// What a process can write to: there is no other place that a copy could be in.
std::vector<Region> writable_memory(const std::string &process) {
    std::vector<Region> regions;
    std::ifstream maps("/proc/" + process + "/maps");
    for (std::string line; std::getline(maps, line);) {
        unsigned long begin = 0;
        unsigned long end = 0;
        char rights[5] = {};
        if (std::sscanf(line.c_str(), "%lx-%lx %4s", &begin, &end, rights) == 3 &&
            std::string_view(rights).starts_with("rw"))
            regions.push_back({reinterpret_cast<const unsigned char *>(begin),
                               reinterpret_cast<const unsigned char *>(end)});
    }
    return regions;
}

std::size_t count_in(const Region &region, const unsigned char *masked_piece) {
    const unsigned char key = mask;
    const unsigned char *const end = region.end - piece + 1;
    std::size_t copies = 0;
    for (const unsigned char *at = region.begin; at < end; ++at) {
        const auto left = static_cast<std::size_t>(end - at);
        at = static_cast<const unsigned char *>(std::memchr(at, masked_piece[0] ^ key, left));
        if (at == nullptr)
            break;
        std::size_t same = 1;
        while (same < piece && (at[same] ^ key) == masked_piece[same])
            ++same;
        copies += same == piece;
    }
    return copies;
}

} // namespace

MaskedText::MaskedText(unsigned number) {
    // No two of its letters stand in the same order again soon, and nobody else has such a text.
    std::uint32_t state = 2654435761u * (number + 1);
    for (std::size_t i = 0; i < size; ++i) {
        state = state * 1664525u + 1013904223u;
        masked_.push_back(static_cast<unsigned char>(('A' + (state >> 16) % 26) ^ mask));
    }
}

void MaskedText::reveal(char (&buffer)[size + 1]) const {
    for (std::size_t i = 0; i < size; ++i)
        buffer[i] = static_cast<char>(masked_[i] ^ mask);
    buffer[size] = '\0';
}

std::size_t MaskedText::copies_in_memory() const {
    std::size_t copies = 0;
    for (const Region &region : writable_memory("self"))
        for (std::size_t start = 0; start + piece <= size; start += piece)
            copies += count_in(region, masked_.data() + start);
    return copies;
}

std::size_t MaskedText::copies_in_memory_of(pid_t process) const {
    const std::string name = std::to_string(process);
    std::ifstream memory("/proc/" + name + "/mem", std::ios::binary);
    std::size_t copies = 0;
    for (const Region &region : writable_memory(name)) {
        std::vector<unsigned char> bytes(static_cast<std::size_t>(region.end - region.begin));
        memory.seekg(reinterpret_cast<std::streamoff>(region.begin));
        memory.read(reinterpret_cast<char *>(bytes.data()),
                    static_cast<std::streamsize>(bytes.size()));
        if (!memory) // as the kernel's own pages, which hold nothing of the process
            memory.clear();
        for (std::size_t start = 0; start + piece <= size; start += piece)
            copies += count_in({bytes.data(), bytes.data() + bytes.size()}, masked_.data() + start);
    }
    return copies;
}

} // namespace hostile
