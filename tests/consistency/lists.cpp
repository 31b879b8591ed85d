// Prints the lists of the code, one entry a line, after the list's name.
#include "repository/EntryPoints.h"
#include "storestate/Environment.h"
#include "storestate/ModifyOptions.h"
#include "storestate/RecordFormat.h"

#include <iostream>

int main() {
    for (const auto& each : modifyOptions()) {
        std::cout << "option " << each.longName << " " << each.shortName << " " << each.meaning << "\n";
    }
    for (const auto& each : storestate::recordProperties({"", "."})) {
        std::cout << "key " << each.key << "\n";
    }
    for (const auto& each : storestate::ENTRY_POINTS) {
        std::cout << "point " << each.symbol << "\n";
    }
    for (const auto& each : storestate::ENVIRONMENT) {
        std::cout << "variable " << each.name << "\n";
    }
}
