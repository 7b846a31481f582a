#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <string_view>

namespace fuzz {

/// A file in a folder of its own, which goes when the program ends. TMPDIR says where.
class ScratchFile {
public:
    explicit ScratchFile(const char *name) {
        std::string folder = std::filesystem::temp_directory_path() / "fuzz_XXXXXX";
        if (mkdtemp(folder.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        path_ = std::filesystem::path(folder) / name;
    }
    ~ScratchFile() {
        std::error_code ignored;
        std::filesystem::remove_all(path_.parent_path(), ignored);
    }
    ScratchFile(const ScratchFile &) = delete;
    ScratchFile &operator=(const ScratchFile &) = delete;

    std::string path() const { return path_; }
    std::string folder() const { return path_.parent_path(); }
    void write(std::string_view bytes) const { std::ofstream(path_, std::ios::binary) << bytes; }
    std::string read() const {
        std::ifstream in(path_, std::ios::binary);
        return {std::istreambuf_iterator(in), {}};
    }

private:
    std::filesystem::path path_;
};

} // namespace fuzz
