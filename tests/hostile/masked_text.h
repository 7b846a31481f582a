#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <sys/types.h>
#include <vector>

namespace hostile {

/// A secret for the length of a test, kept so that this program itself holds no copy of it: what
/// is in memory is only readable through a mask.
class MaskedText {
public:
    static constexpr std::size_t size = 48;

    /// One of its own for each number: no two of its letters stand in the same order again soon,
    /// and nobody else has such a text.
    explicit MaskedText(unsigned number) {
        std::uint32_t state = 2654435761u * (number + 1);
        for (std::size_t i = 0; i < size; ++i) {
            state = state * 1664525u + 1013904223u;
            masked_.push_back(static_cast<unsigned char>(('A' + (state >> 16) % 26) ^ mask_));
        }
    }

    /// Writes it in plain, with a terminating zero.
    void reveal(char (&buffer)[size + 1]) const {
        for (std::size_t i = 0; i < size; ++i)
            buffer[i] = static_cast<char>(masked_[i] ^ mask_);
        buffer[size] = '\0';
    }

    /// In how many places of this process's memory a piece of it stands. Whoever frees memory may
    /// spoil its beginning, so pieces count as well as the whole.
    std::size_t copies_in_memory() const {
        std::size_t copies = 0;
        for (const auto &[begin, end] : writable_memory("self"))
            copies += copies_in(reinterpret_cast<const unsigned char *>(begin), end - begin);
        return copies;
    }
    /// The same for a child process.
    std::size_t copies_in_memory_of(pid_t process) const {
        const std::string name = std::to_string(process);
        std::ifstream memory("/proc/" + name + "/mem", std::ios::binary);
        std::size_t copies = 0;
        for (const auto &[begin, end] : writable_memory(name)) {
            std::vector<char> bytes(end - begin);
            memory.seekg(static_cast<std::streamoff>(begin));
            memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
            if (!memory) // as the kernel's own pages, which hold nothing of the process
                memory.clear();
            copies += copies_in(reinterpret_cast<unsigned char *>(bytes.data()), bytes.size());
        }
        return copies;
    }

private:
    static constexpr std::size_t piece = 16;

    /// What a process can write to: there is no other place that a copy could be in.
    static std::vector<std::pair<std::size_t, std::size_t>>
    writable_memory(const std::string &process) {
        std::vector<std::pair<std::size_t, std::size_t>> regions;
        std::ifstream maps("/proc/" + process + "/maps");
        for (std::string line; std::getline(maps, line);) {
            std::size_t begin = 0, end = 0;
            char rights[5] = {};
            if (std::sscanf(line.c_str(), "%zx-%zx %4s", &begin, &end, rights) == 3 &&
                std::string_view(rights).starts_with("rw"))
                regions.emplace_back(begin, end);
        }
        return regions;
    }

    std::size_t copies_in(const unsigned char *region, std::size_t bytes) const {
        const unsigned char *const end = region + bytes - piece + 1;
        std::size_t copies = 0;
        for (std::size_t start = 0; start < size; start += piece) {
            const unsigned char *const wanted = masked_.data() + start;
            const unsigned char key = mask_;
            for (const unsigned char *at = region;; ++at) {
                at = static_cast<const unsigned char *>(
                    std::memchr(at, wanted[0] ^ key, static_cast<std::size_t>(end - at)));
                if (at == nullptr)
                    break;
                std::size_t same = 1;
                while (same < piece && (at[same] ^ key) == wanted[same])
                    ++same;
                copies += same == piece;
            }
        }
        return copies;
    }

    /// Volatile, so that no compiler works with the plain text instead.
    const volatile unsigned char mask_ = 0xA5;
    std::vector<unsigned char> masked_;
};

} // namespace hostile
