#include "plugin_loader.h"
#include "system.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

// When and from where the plug-in is loaded.

namespace kavro {
namespace {

namespace fs = std::filesystem;

TEST(Plugin, IsLookedForBesideTheProgram) {
    const PluginNaming posix = {'/', "p.so"};
    const PluginNaming windows = {'\\', "p.dll"};
    struct Row {
        std::string program;
        PluginNaming naming;
        std::string plugin;
    };
    const Row rows[] = {
        {"/opt/viewer/viewer", posix, "/opt/viewer/p.so"},
        {"/viewer", posix, "/p.so"},
        {"C:\\Viewer\\viewer.exe", windows, "C:\\Viewer\\p.dll"},
        {"/opt/" + std::string(254, 'v'), posix, "/opt/p.so"},
        {"/opt/" + std::string(255, 'v'), posix, ""},
        {"viewer", posix, ""},
        {"", posix, ""},
    };
    for (const auto &[program, naming, plugin] : rows)
        EXPECT_EQ(plugin_path(program, naming), plugin) << program;
}

/// A folder of its own with the program in it and what is to be its plug-in.
class Installation {
public:
    /// A `path_length` other than 0 is that of the program's path.
    explicit Installation(std::size_t path_length) {
        const fs::path host = VIEW_HOST;
        fs::path folder = root_;
        if (path_length != 0)
            folder /=
                std::string(path_length - (root_ / "" / host.filename()).string().size() - 1, 'd');
        fs::create_directories(folder);
        program_ = folder / host.filename();
        plugin_ = folder / plugin_naming.file;
        fs::copy_file(host, program_);
    }
    ~Installation() { fs::remove_all(root_); }
    Installation(const Installation &) = delete;
    Installation &operator=(const Installation &) = delete;

    const fs::path &plugin() const { return plugin_; }
    /// What the program prints, and "ended" when it ends well.
    std::string run(const std::string &steps) const {
        return test_support::output_of('"' + program_.string() + "\" \"" + plugin_.string() +
                                       "\" " + steps + "&& echo ended");
    }

private:
    const fs::path root_ = test_support::fresh_folder();
    fs::path program_;
    fs::path plugin_;
};

/// Loading happens once in a process, so each case is a run of a program of its own.
struct Case {
    const char *what;
    const char *plugin; ///< copied; when there is no such file, its text is the plug-in's
    const char *steps;
    const char *printed;
    std::size_t path_length = 0;
};

void expect_printed(std::initializer_list<Case> cases) {
    for (const auto &row : cases) {
        const Installation installation(row.path_length);
        if (row.plugin != nullptr && fs::exists(row.plugin))
            fs::copy_file(row.plugin, installation.plugin());
        else if (row.plugin != nullptr)
            std::ofstream(installation.plugin()) << row.plugin;
        EXPECT_EQ(installation.run(row.steps), row.printed + std::string("ended\n")) << row.what;
    }
}

TEST(Plugin, IsLoadedOnceByTheFirstHandle) {
    expect_printed({
        {"good", VIEW_PLUGIN, "VIEW KAVR", "VIEW 0\nKAVR 0\n"},
        {"absent", nullptr, "VIEW KAVR", "VIEW 100\nKAVR 0\n"},
        {"empty", "", "VIEW KAVR", "VIEW 100\nKAVR 0\n"},
        {"no library", "no library", "VIEW KAVR", "VIEW 100\nKAVR 0\n"},
        {"nothing to destroy clients with", VIEW_PLUGIN_WITHOUT_DELETE, "VIEW KAVR",
         "unloaded\nVIEW 100\nKAVR 0\n"},
        {"nothing to create clients with", VIEW_PLUGIN_WITHOUT_CREATE, "VIEW KAVR",
         "unloaded\nVIEW 100\nKAVR 0\n"},
        {"gone after the first handle", VIEW_PLUGIN, "KAVR hide VIEW", "KAVR 0\nVIEW 0\n"},
        {"there after the first handle", VIEW_PLUGIN, "hide KAVR show VIEW", "KAVR 0\nVIEW 100\n"},
        {"there after the first failure", VIEW_PLUGIN, "hide VIEW show VIEW",
         "VIEW 100\nVIEW 100\n"},
    });
}

TEST(Plugin, IsNotLookedForWhereThePathIsTooLong) {
    expect_printed({
        {"longest path", VIEW_PLUGIN, "VIEW KAVR", "VIEW 0\nKAVR 0\n", 259},
        {"path too long", VIEW_PLUGIN, "VIEW KAVR", "VIEW 100\nKAVR 0\n", 260},
    });
}

} // namespace
} // namespace kavro
