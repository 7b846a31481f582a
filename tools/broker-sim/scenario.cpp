#include "scenario.h"

#include <cstdio>

namespace broker_sim {
namespace {

std::string numbered(std::string text, std::size_t number) {
    char digits[24];
    std::snprintf(digits, sizeof digits, "%06zu", number);
    static constexpr std::string_view mark = "{n}";
    const std::size_t at = text.find(mark);
    return at == std::string::npos ? text : text.replace(at, mark.size(), digits);
}

} // namespace

std::vector<Desktop> generate_desktops(const Desktop &model, std::size_t count) {
    std::vector<Desktop> desktops(count, model);
    for (std::size_t i = 0; i < count; ++i) {
        desktops[i].name = numbered(model.name, i + 1);
        desktops[i].id = numbered(model.id, i + 1);
    }
    return desktops;
}

} // namespace broker_sim
