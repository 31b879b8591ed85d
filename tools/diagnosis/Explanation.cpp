#include "diagnosis/Explanation.h"

#include "diagnosis/DatabaseDiagnosis.h"
#include "diagnosis/PluginDiagnosis.h"
#include "process/Identity.h"
#include "support/QXSemaphore.h"

#include <cerrno>
#include <string_view>

namespace storestate {
namespace {

constexpr char WORD_RULE[] = "one word of at most 255 characters, without blanks";
constexpr char TEXT_RULE[] = "at most 255 characters, no double quotes and no line breaks";
constexpr char DEVICES_RULE[] = "names of 1 to 255 characters each, no blanks, double quotes or line breaks";

struct Rule {
    std::string_view key;
    const char* text;
};

/** All other values that can fail are words. */
constexpr Rule RULES[] = {
    {"Folder",
     R"(at most 255 letters without accents, digits, blanks and ] _ . , @ $ % # & * ( ) [ { } | / \ ^ ; : -)"},
    {"Derived", TEXT_RULE},
    {"SourceStudy", TEXT_RULE},
    {"StagedDevices", DEVICES_RULE},
    {"ForwardDevices", DEVICES_RULE},
};

bool startsWith(const std::string& text, std::string_view beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

std::string databaseReason() {
    StoreState probe("-", ".");
    const auto fault = askForDevices(probe);
    return fault.has_value() ? fault->text + "; " + fault->remedy : "now the database answers: try again";
}

std::string ruleFor(const std::string& message) {
    constexpr std::string_view BEFORE = " cannot carry ";
    const size_t found = message.find(BEFORE);
    const size_t begin = found + BEFORE.size();
    if (found == std::string::npos) {
        return "";
    }
    const std::string key = message.substr(begin, message.find('=', begin) - begin);
    for (const Rule& rule : RULES) {
        if (key == rule.key) {
            return key + " takes " + rule.text;
        }
    }
    return key + " takes " + WORD_RULE;
}

std::string orElse(const std::string& text, const char* otherwise) {
    return text.empty() ? otherwise : text;
}

/** What stands behind a failure that the library words so; empty when its text says it all. */
std::string reason(const std::string& message, const std::string& study) {
    if (startsWith(message, "Error connecting to MySQL") || startsWith(message, "Missing environment variables:") ||
        startsWith(message, "Error executing query: ")) {
        return databaseReason();
    }
    if (startsWith(message, "Creating semaphore failed: ") || startsWith(message, "Releasing semaphore failed: ")) {
        return "the lock directory is " + QXSemaphore("", false).lockDir;
    }
    if (message == "Study " + study + " could not be created in repository.") {
        return orElse(askToCreate(study).failure, "now its directory is there: try again");
    }
    if (message == "Study " + study + " not found in repository." ||
        message == "Record of study " + study + " exists but was not read.") {
        return orElse(askLocation(study).failure, "the plug-in did not find it just now: try again");
    }
    return startsWith(message, "Record of study " + study) ? ruleFor(message) : "";
}

} // namespace

std::string explained(const QXException& failure, const std::string& study) {
    std::string text;
    failure.toString(text);
    constexpr std::string_view NOISE = "Unknown Exception: [1] "; // any failure that has no error number
    if (startsWith(text, NOISE)) {
        text.erase(0, NOISE.size());
    }
    std::string why = reason(failure.message, study);
    if (why.empty() && failure.errorNumber == EACCES) {
        why = foreignPart(askLocation(study).directory);
    }
    return why.empty() ? text : text + ": " + why;
}

} // namespace storestate
