#include "record/RecordChange.h"

#include "storestate/RecordFormat.h"

#include <algorithm>
#include <vector>

namespace storestate {
namespace {

bool contains(const std::vector<std::string>& lines, const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
}

} // namespace

std::string changeText(const std::string& before, const std::string& after, const Style& style) {
    const std::vector<std::string> old = splitLines(before);
    const std::vector<std::string> changed = splitLines(after);
    std::string text;
    for (const std::string& line : old) {
        text += contains(changed, line) ? "" : "  " + style.bad("- " + printable(line)) + "\n";
    }
    for (const std::string& line : changed) {
        text += contains(old, line) ? "" : "  " + style.good("+ " + printable(line)) + "\n";
    }
    return text;
}

std::string convertedText(const std::string& study) {
    StoreState state(study.c_str(), "");
    state.useLock = false;
    state.diagnostics = nullptr;
    state.load();
    std::string text = formatRecord(state);
    requireReadable(state, text);
    return text;
}

void printChange(const std::string& study, const std::string& before, const std::string& after) {
    const Style style(stdout);
    printf("%s\n%s", style.title(printable(study)).c_str(), changeText(before, after, style).c_str());
}

} // namespace storestate
