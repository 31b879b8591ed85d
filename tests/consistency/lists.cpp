// Prints one of the lists that the code keeps, an entry a line.
#include "repository/EntryPoints.h"
#include "storestate/Environment.h"
#include "storestate/ModifyOptions.h"
#include "storestate/RecordFormat.h"

#include <iostream>

int main(int, char** arguments) {
    const std::string wanted = arguments[1];
    std::vector<std::string> entries;
    for (const ModifyOption& option : modifyOptions()) {
        if (wanted == "options") { entries.push_back(option.longName + std::string(" ") + option.shortName); }
    }
    for (const storestate::RecordProperty& property : storestate::recordProperties(StoreState("", "."))) {
        if (wanted == "keys") { entries.emplace_back(property.key); }
    }
    for (const storestate::EntryPoint& point : storestate::ENTRY_POINTS) {
        if (wanted == "entry points") { entries.emplace_back(point.symbol); }
    }
    for (const storestate::EnvironmentVariable& variable : storestate::ENVIRONMENT) {
        if (wanted == "variables") { entries.emplace_back(variable.name); }
    }
    for (const std::string& entry : entries) { std::cout << entry << "\n"; }
    return entries.empty() ? 1 : 0;
}
