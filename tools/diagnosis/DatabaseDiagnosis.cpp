#include "diagnosis/DatabaseDiagnosis.h"

#include "storestate/AutoForward.h"
#include "storestate/Environment.h"
#include "support/QXException.h"

#include <algorithm>
#include <iterator>

namespace storestate {
namespace {

struct Remedy {
    unsigned int number;
    const char* text;
};

constexpr char REACH[] = "check that the server runs; check MYSQL_UNIX_PORT, or MYSQL_HOST and MYSQL_TCP_PORT";
constexpr char CONNECT[] =
    "let the user in ARQ_USER connect from this machine without a password; if it may, the server perhaps requires TLS "
    "(SHOW VARIABLES LIKE 'require_secure_transport'): use its socket (MYSQL_UNIX_PORT)";
constexpr char READ[] = "check DBNAME, and let the user in ARQ_USER read both tables: GRANT SELECT";

constexpr char SETTINGS[] =
    "set DBNAME, TARGETTBL and DEVSERVTBL, and MYSQL_UNIX_PORT or MYSQL_HOST and MYSQL_TCP_PORT, "
    "as the server has them; a table's name has only letters, digits and underscores";

constexpr Remedy REMEDIES[] = {
    {2002, REACH},
    {2003, REACH},
    {2005, REACH},
    {2006, REACH},
    {2013, REACH},
    {1040, "wait, or let the server take more connections"},
    {1045, CONNECT},
    {1130, CONNECT},
    {1698, CONNECT},
    {1044, READ},
    {1142, READ},
    {1143, READ},
    {1049, "set DBNAME to the server's database"},
    {1054, "the table of TARGETTBL needs the columns ID and TYPE, that of DEVSERVTBL the columns DEVICE and SERVICE"},
    {1146, "set TARGETTBL and DEVSERVTBL to the tables of devices and of services"},
    {2026, "give the server a certificate that this machine trusts, or use its socket (MYSQL_UNIX_PORT)"},
    {2059, "create the user with an authentication plug-in that the client library has, usually mysql_native_password"},
    {3159, "the server requires TLS: use its socket (MYSQL_UNIX_PORT), or switch require_secure_transport off"},
};

/** Gives access to the number and the text of the client library's last error. */
class Session : public DB_Query {
public:
    unsigned int errorNumber() const { return connection != nullptr ? mysql_errno(connection) : 0; }
    std::string errorMessage() const { return connection != nullptr ? mysql_error(connection) : ""; }
};

/** MariaDB's client reports a missing authentication plug-in with the number of the refusal that follows. */
unsigned int cause(unsigned int number, const std::string& message) {
    constexpr unsigned int PLUGIN_MISSING = 2059;
    return message.find("could not be loaded") != std::string::npos ? PLUGIN_MISSING : number;
}

} // namespace

std::optional<DatabaseFault> askForDevices(StoreState& record) {
    Session session;
    try {
        readAutoForwardDevices(session, record.autoForwardDevices);
        return std::nullopt;
    } catch (const QXException&) {
        const unsigned int number = session.errorNumber();
        if (number != 0) {
            const std::string text = session.errorMessage();
            return DatabaseFault{text + " [" + std::to_string(number) + "]", databaseRemedy(cause(number, text))};
        }
        const std::string tables = std::string("TARGETTBL is \"") + environmentValue("TARGETTBL") +
                                   "\" and DEVSERVTBL is \"" + environmentValue("DEVSERVTBL") + "\"";
        const std::string setting = session.errorText.text;
        return DatabaseFault{setting.empty() ? tables : setting.substr(0, setting.find('\n')), SETTINGS};
    }
}

std::string databaseRemedy(unsigned int number) {
    const auto* found = std::find_if(std::begin(REMEDIES), std::end(REMEDIES),
                                     [number](const Remedy& remedy) { return remedy.number == number; });
    return found != std::end(REMEDIES) ? found->text : "look the number up in the database's manual";
}

} // namespace storestate
