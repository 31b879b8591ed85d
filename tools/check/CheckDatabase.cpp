#include "check/CheckReport.h"

#include "diagnosis/DatabaseDiagnosis.h"
#include "storestate/AutoForward.h"
#include "storestate/RecordFormat.h"
#include "storestate/StoreState.h"
#include "support/QXException.h"
#include "terminal/Text.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <vector>

namespace storestate {
namespace {

using Device = StoreState::StoreDevice;

constexpr char SOCKET[] = "MYSQL_UNIX_PORT";
constexpr char HOST[] = "MYSQL_HOST";
constexpr char PORT[] = "MYSQL_TCP_PORT";
constexpr char TARGETS[] = "TARGETTBL";
constexpr char SERVICES[] = "DEVSERVTBL";

void requireWithValue(CheckReport& report, const char* variable, const std::string& remedy) {
    if (requireSetting(report, variable, remedy)) {
        report.good(variable, setting(variable));
    }
}

void checkSocket(CheckReport& report, const std::string& path) {
    const std::string remedy = "set it to the socket of the running server";
    struct stat status;
    errno = 0;
    if (stat(path.c_str(), &status) != 0) {
        report.bad(SOCKET, path + ": " + strerror(errno), remedy);
    } else if (!S_ISSOCK(status.st_mode)) {
        report.bad(SOCKET, path + " is not a socket", remedy);
    } else {
        report.good(SOCKET, path);
    }
    for (const char* unused : {HOST, PORT}) {
        const std::string value = setting(unused);
        report.good(unused, (value.empty() ? "not set" : value) + ", and does not count: the socket is used");
    }
}

bool isPort(const std::string& text) {
    return isNumber(text) && text.size() <= 5 && std::stoi(text) >= 1 && std::stoi(text) <= 65535;
}

void checkHost(CheckReport& report) {
    report.good(SOCKET, "not set: host and port are used");
    if (setting(HOST) == "localhost") {
        report.note(HOST, "localhost means the client library's own socket, not the port",
                    "write 127.0.0.1 for the port, or set MYSQL_UNIX_PORT");
    } else {
        requireWithValue(report, HOST, "set MYSQL_UNIX_PORT, or this one and MYSQL_TCP_PORT");
    }
    const std::string port = setting(PORT);
    if (!port.empty() && !isPort(port)) {
        report.bad(PORT, "\"" + port + "\" is no port",
                   "give the server's port in decimal, 1 to 65535, as a rule 3306");
    } else {
        requireWithValue(report, PORT, "set it to the server's port, as a rule 3306");
    }
}

void checkTable(CheckReport& report, const char* variable, const char* content) {
    const std::string remedy = std::string("set it to the table of ") + content;
    if (!requireSetting(report, variable, remedy)) {
        return;
    }
    const std::string name = setting(variable);
    if (isTableName(name.c_str())) {
        report.good(variable, name);
    } else {
        report.bad(variable, "\"" + name + "\" is refused: only letters, digits and underscores may stand in it",
                   "make a view of such a name in DBNAME, and set it to that");
    }
}

/** Why no record can carry the device, whatever its place there; empty when each can. */
std::string refusal(const Device& device) {
    for (const bool ownedLocally : {false, true}) {
        StoreState probe("-", ".");
        probe.studyOwner = ownedLocally;
        probe.autoForwardDevices.push_back(new Device(device));
        probe.addAutoForwardDevices(false);
        try {
            requireReadable(probe, formatRecord(probe));
        } catch (const QXException& failure) {
            return failure.message;
        }
    }
    return "";
}

void checkDevices(CheckReport& report, const OFList<Device*>& devices) {
    std::string list;
    for (const Device* device : devices) {
        if (device->id.empty()) {
            continue; // which the library passes over
        }
        list += std::string(" ") + device->id.c_str() + " (" + device->type.c_str() + ")";
        if (!refusal(*device).empty()) {
            report.bad("auto-forward device", std::string("no record can carry \"") + device->id.c_str() + "\"",
                       "rename it: no blanks, no quotes, 1 to 255 characters");
        }
    }
    if (list.empty()) {
        report.note("auto-forward devices",
                    "none: no row answers " + autoForwardQuery(setting(TARGETS).c_str(), setting(SERVICES).c_str()),
                    "fine if nothing is to be forwarded; otherwise give each device a row in both tables, in that of "
                    "DEVSERVTBL with SERVICE 'AFwd', written so");
    } else {
        report.good("auto-forward devices", list.substr(1));
    }
}

/** True when the database can be asked. */
bool checkSettings(CheckReport& report) {
    CheckReport own([&](const Finding& finding) { report.add(finding); });
    requireWithValue(own, "DBNAME", "set it to the server's database");
    const char* user = getenv("ARQ_USER");
    own.good("ARQ_USER", user != nullptr ? user : "not set: the client library's own default");
    const char* socket = databaseSocket();
    if (socket != nullptr) {
        checkSocket(own, socket);
    } else {
        checkHost(own);
    }
    checkTable(own, TARGETS, "devices (columns ID, TYPE)");
    checkTable(own, SERVICES, "services (columns DEVICE, SERVICE)");
    return own.worst() < Verdict::BAD;
}

} // namespace

void checkDatabase(CheckReport& report) {
    if (!checkSettings(report)) {
        return;
    }
    StoreState record("-", ".");
    const std::optional<DatabaseFault> fault = askForDevices(record);
    if (fault.has_value()) {
        report.bad("database", fault->text, fault->remedy);
        return;
    }
    report.good("database", "answers, both tables are there");
    checkDevices(report, record.autoForwardDevices);
}

} // namespace storestate
