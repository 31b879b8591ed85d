#include "check/CheckReport.h"

#include "storestate/AutoForward.h"
#include "storestate/RecordFormat.h"
#include "storestate/StoreState.h"
#include "support/QXException.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace storestate {
namespace {

constexpr unsigned int PATIENCE = 5; ///< seconds for the database to answer

using Device = StoreState::StoreDevice;

void checkRequired(CheckReport& report, const char* variable, const char* remedy) {
    const char* value = getenv(variable);
    if (value == nullptr || *value == '\0') {
        report.bad(variable, value == nullptr ? "not set" : "empty", remedy);
    } else {
        report.good(variable, value);
    }
}

void checkSocket(CheckReport& report, const char* path) {
    constexpr char VARIABLE[] = "MYSQL_UNIX_PORT";
    struct stat status;
    errno = 0;
    if (stat(path, &status) != 0) {
        report.bad(VARIABLE, std::string(path) + ": " + strerror(errno), "set it to the socket of the running server");
    } else if (!S_ISSOCK(status.st_mode)) {
        report.bad(VARIABLE, std::string(path) + " is not a socket", "set it to the socket of the running server");
    } else {
        report.good(VARIABLE, std::string(path) + "; MYSQL_HOST and MYSQL_TCP_PORT do not count");
    }
}

void checkHost(CheckReport& report) {
    const char* host = getenv("MYSQL_HOST");
    const char* port = getenv("MYSQL_TCP_PORT");
    if (host != nullptr && strcmp(host, "localhost") == 0) {
        report.note("MYSQL_HOST",
                    "localhost means the client library's own socket, not the port; 127.0.0.1 means that");
    } else {
        checkRequired(report, "MYSQL_HOST", "set MYSQL_UNIX_PORT, or this one and MYSQL_TCP_PORT");
    }
    const bool number = port != nullptr && *port != '\0' && port[strspn(port, "0123456789")] == '\0';
    if (port != nullptr && !number) {
        report.bad("MYSQL_TCP_PORT", std::string("\"") + port + "\" is not a number", "give the port in decimal");
    } else {
        checkRequired(report, "MYSQL_TCP_PORT", "set it to the server's port, as a rule 3306");
    }
}

void checkSettings(CheckReport& report) {
    checkRequired(report, "DBNAME", "set it to the server's database");
    const char* user = getenv("ARQ_USER");
    report.good("ARQ_USER", user != nullptr ? user : "not set: the client library's own default");
    const char* socket = getenv("MYSQL_UNIX_PORT");
    if (socket != nullptr && *socket != '\0') {
        checkSocket(report, socket);
    } else {
        checkHost(report);
    }
    checkRequired(report, "TARGETTBL", "set it to the table of devices (columns ID, TYPE)");
    checkRequired(report, "DEVSERVTBL", "set it to the table of services (columns DEVICE, SERVICE)");
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
    report.good("auto-forward devices", list.empty() ? "none" : list.substr(1));
}

/** What the library does for a record without version. Never returns in time when the server does not answer. */
void askDatabase(CheckReport& report) {
    DB_Query session;
    StoreState holder("-", ".");
    try {
        readAutoForwardDevices(session, holder.autoForwardDevices);
    } catch (const QXException& failure) {
        session.errorText.replace('\n', ' ');
        const std::string detail = session.errorText.text;
        report.bad("database", failure.message + (detail.empty() ? "" : ": " + detail),
                   "see that the server runs, that the user may connect without a password and read both tables");
        return;
    }
    report.good("database", "answers, both tables are there");
    checkDevices(report, holder.autoForwardDevices);
}

/** In a process of its own, which an alarm ends: the library itself waits for the database without limit. */
void askDatabaseInTime(CheckReport& report) {
    constexpr char SUBJECT[] = "database";
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        alarm(PATIENCE);
        CheckReport part;
        askDatabase(part);
        fflush(stdout);
        _exit(part.allGood() ? 0 : 1);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
        report.bad(SUBJECT, std::string("cannot be asked: ") + strerror(errno), "try again");
    } else if (WIFSIGNALED(status)) {
        report.bad(SUBJECT, "no answer within " + std::to_string(PATIENCE) + " seconds",
                   "see that the server is reachable and not overloaded");
    } else if (WEXITSTATUS(status) != 0) {
        report.countFault();
    }
}

} // namespace

void checkDatabase(CheckReport& report) {
    checkSettings(report);
    askDatabaseInTime(report);
}

} // namespace storestate
