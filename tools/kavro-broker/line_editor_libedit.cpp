#include "line_editor.h"
#include "terminal.h"

#include <histedit.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <exception>
#include <utility>

namespace kavro_cli {
namespace {

constexpr int most_remembered = 1000;

using File = std::unique_ptr<std::FILE, int (*)(std::FILE *)>;

File open_terminal_file(const char *mode) {
    return {std::fopen("/dev/tty", mode), std::fclose};
}

/// What all of them begin with.
std::string common_beginning(const std::vector<std::string> &words) {
    std::string common = words.front();
    for (const auto &word : words)
        common.erase(std::ranges::mismatch(common, word).in1, common.end());
    return common;
}

class LibeditEditor final : public LineEditor {
public:
    LibeditEditor(File input, File output, const Interruption &interruption, Complete complete)
        : input_(std::move(input)),
          output_(std::move(output)),
          interruption_(interruption),
          complete_(std::move(complete)),
          history_(history_init(), history_end),
          editor_(el_init("kavro-broker", input_.get(), output_.get(), output_.get()), el_end) {
        std::setlocale(LC_CTYPE, ""); // by which it knows characters and their widths
        HistEvent event;
        history(history_.get(), &event, H_SETSIZE, most_remembered);
        history(history_.get(), &event, H_SETUNIQUE, 1);
        el_set(editor_.get(), EL_CLIENTDATA, this);
        el_set(editor_.get(), EL_PROMPT, &show_prompt);
        el_set(editor_.get(), EL_EDITOR, "emacs");
        el_set(editor_.get(), EL_HIST, history, history_.get());
        el_set(editor_.get(), EL_GETCFN, &get_character);
        // Copies of narrow names would never be freed.
        el_wset(editor_.get(), EL_ADDFN, L"complete", L"Complete a word", &complete_word);
        el_set(editor_.get(), EL_BIND, "^I", "complete", nullptr);
        el_source(editor_.get(), nullptr); // the user's own keys
    }

    bool read(const std::string &prompt, Secret &line) override {
        prompt_ = prompt;
        el_resize(editor_.get());
        int length = 0;
        const char *typed = el_gets(editor_.get(), &length);
        if (const auto failure = std::exchange(failure_, nullptr)) {
            std::fputs("^C\n", output_.get());
            std::fflush(output_.get());
            std::rethrow_exception(failure);
        }
        line.clear();
        if (typed == nullptr || length <= 0)
            return false;
        std::string_view text(typed, static_cast<std::size_t>(length));
        line.append(text.substr(0, text.find('\n')));
        return true;
    }

    void remember(const std::string &line) override {
        HistEvent event;
        history(history_.get(), &event, H_ENTER, line.c_str());
    }

private:
    static LibeditEditor &self(EditLine *editor) {
        void *data = nullptr;
        el_get(editor, EL_CLIENTDATA, &data);
        return *static_cast<LibeditEditor *>(data);
    }

    static char *show_prompt(EditLine *editor) { return self(editor).prompt_.data(); }

    /// One character of the user's encoding. Nothing is thrown through the library in C: what was
    /// thrown waits until that has restored the terminal.
    static int get_character(EditLine *editor, wchar_t *character) {
        auto &own = self(editor);
        try {
            std::mbstate_t state{};
            *character = L'?'; // unless the bytes are a character
            for (char byte = 0; read_character(fileno(own.input_.get()), byte, own.interruption_);)
                if (std::mbrtowc(character, &byte, 1, &state) != static_cast<std::size_t>(-2))
                    return 1;
        } catch (...) {
            own.failure_ = std::current_exception();
        }
        return 0;
    }

    static unsigned char complete_word(EditLine *editor, int) {
        auto &own = self(editor);
        const LineInfo *line = el_line(editor);
        const std::string_view before(line->buffer,
                                      static_cast<std::size_t>(line->cursor - line->buffer));
        try {
            return own.insert(own.complete_(before));
        } catch (...) {
            own.failure_ = std::current_exception();
            return CC_EOF;
        }
    }

    /// The one candidate, or what all have in common; when that is nothing new, all are listed.
    unsigned char insert(const Completion &completion) {
        if (completion.candidates.empty())
            return CC_REFRESH_BEEP;
        const bool is_only_one = completion.candidates.size() == 1;
        auto word = common_beginning(completion.candidates);
        if (!is_only_one && word.size() <= completion.length) {
            list(completion.candidates);
            return CC_REDISPLAY;
        }
        if (is_only_one)
            word += ' ';
        el_deletestr(editor_.get(), static_cast<int>(completion.length));
        el_insertstr(editor_.get(), word.c_str());
        return CC_REFRESH;
    }

    void list(const std::vector<std::string> &words) {
        std::fputc('\n', output_.get());
        for (const auto &word : words)
            std::fprintf(output_.get(), "%s\n", word.c_str());
    }

    const File input_, output_;
    const Interruption &interruption_;
    const Complete complete_;
    const std::unique_ptr<History, void (*)(History *)> history_;
    const std::unique_ptr<EditLine, void (*)(EditLine *)> editor_;
    std::string prompt_;
    std::exception_ptr failure_;
};

} // namespace

std::unique_ptr<LineEditor> open_line_editor(const Interruption &interruption,
                                             LineEditor::Complete complete) {
    auto input = open_terminal_file("r");
    auto output = open_terminal_file("w");
    if (!input || !output || !takes_control_sequences(fileno(output.get())))
        return nullptr;
    return std::make_unique<LibeditEditor>(std::move(input), std::move(output), interruption,
                                           std::move(complete));
}

} // namespace kavro_cli
