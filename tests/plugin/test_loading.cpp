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
    const std::tuple<std::string, PluginNaming, std::string> rows[] = {
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
    Installation() { fs::copy_file(VIEW_HOST, program_); }
    ~Installation() { fs::remove_all(folder_); }
    Installation(const Installation &) = delete;
    Installation &operator=(const Installation &) = delete;

    const fs::path &plugin() const { return plugin_; }
    /// What the program prints, and "ended" when it ends well.
    std::string run(const std::string &steps) const {
        return test_support::output_of('"' + program_.string() + "\" \"" + plugin_.string() +
                                       "\" " + steps + "&& echo ended");
    }

private:
    const fs::path folder_ = test_support::fresh_folder();
    const fs::path program_ = folder_ / fs::path(VIEW_HOST).filename();
    const fs::path plugin_ = folder_ / plugin_naming.file;
};

/// Loading happens once in a process, so each case is a run of a program of its own.
TEST(Plugin, IsLoadedOnceByTheFirstHandle) {
    const struct {
        const char *what;
        const char *plugin; ///< copied; when there is no such file, its text is the plug-in's
        const char *steps, *printed;
    } cases[] = {
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
    };
    for (const auto &row : cases) {
        const Installation installation;
        if (row.plugin != nullptr && fs::exists(row.plugin))
            fs::copy_file(row.plugin, installation.plugin());
        else if (row.plugin != nullptr)
            std::ofstream(installation.plugin()) << row.plugin;
        EXPECT_EQ(installation.run(row.steps), row.printed + std::string("ended\n")) << row.what;
    }
}

} // namespace
} // namespace kavro
