#pragma once

#include <dlfcn.h>

#include <string>

namespace kavro {

/// A library that not every machine has. It is loaded for good.
class OptionalLibrary {
public:
    explicit OptionalLibrary(const char *name) : library_(::dlopen(name, RTLD_NOW | RTLD_LOCAL)) {
        note_what_is_missing(library_);
    }

    /// Sets `function` to the one of that name; null when the library or the function is missing.
    template <class Function>
    void find(const char *name, Function *&function) {
        if (library_ == nullptr)
            return;
        function = reinterpret_cast<Function *>(::dlsym(library_, name));
        note_what_is_missing(reinterpret_cast<void *>(function));
    }

    /// The loader's words for what is missing; empty when nothing is.
    const std::string &missing() const { return missing_; }

private:
    void note_what_is_missing(const void *found) {
        if (found == nullptr && missing_.empty())
            missing_ = ::dlerror();
    }

    std::string missing_;
    void *library_;
};

} // namespace kavro
