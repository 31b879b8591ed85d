#include "check/CheckReport.h"

#include "terminal/Terminal.h"

#include <cstdlib>

namespace storestate {
namespace {

void print(const std::string& verdict, const std::string& subject, const std::string& text) {
    printf("%s  %-23s %s\n", verdict.c_str(), subject.c_str(), printable(text).c_str());
}

} // namespace

void CheckReport::good(const std::string& subject, const std::string& text) {
    print(Style(stdout).good("ok  "), subject, text);
}

void CheckReport::note(const std::string& subject, const std::string& text) {
    print(Style(stdout).warning("note"), subject, text);
}

void CheckReport::bad(const std::string& subject, const std::string& text, const std::string& remedy) {
    ++faults;
    print(Style(stdout).bad("BAD "), subject, text + " -> " + remedy);
}

std::string setting(const char* variable) {
    const char* value = getenv(variable);
    return value != nullptr ? value : "";
}

} // namespace storestate
