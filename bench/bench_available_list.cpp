// SPDX-License-Identifier: MIT
// Rebuilding the available list of 1000 scanned controllers.
//
// The dialog's own refresh (update_listAvailableSlaves: 1 + 3 x 1000 requests
// through the IOManager, the records, the check against the selected table,
// the sort by hostname and the table rebuild) against the cheapest fill of the
// same 1000 rows into an identically set-up table: the rows already sorted,
// updates off, every item coloured before it is inserted, the row height set
// once as the default instead of row by row.
//
// The IOManager answers from memory without any delay, so the figures are
// the dialog's own cost. Both dialogs are shown (offscreen) and every
// operation includes the event processing that follows it, so that deferred
// work (row resizing, layout, painting) is counted where it is caused.
#include <QApplication>
#include <QBrush>
#include <QHeaderView>
#include <QLibraryInfo>
#include <QTableWidget>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

#include "BackendVersions.h"
#include "ControllerProtocol.h"
#include "IOManager.h"
#include "benchkit.h"
#include "cascadedsettingsdlg.h"
#include "dialogaccess.h"

namespace {

const int ScannedCount = 1000;
const int RowHeight = 20; // the dialog's row height of the available table
using ControllerProtocol::AnswerSize;

// Scan entry i (1-based) sits at 127.0.(9 + (i-1)/250).(1 + (i-1)%250): the
// addresses never leave this process, they only have to look real. The
// conversions are written out by hand, so that the IOManager costs as
// little as possible next to the dialog.
char *putNumber(char *out, int v)
{
    char digits[12];
    int n = 0;
    do {
        digits[n++] = char('0' + v % 10);
        v /= 10;
    } while (v > 0);
    while (n > 0)
        *out++ = digits[--n];
    return out;
}

char *putText(char *out, const char *text)
{
    while (*text)
        *out++ = *text++;
    return out;
}

void ipOf(int i, char *out)
{
    out = putText(out, "127.0.");
    out = putNumber(out, 9 + (i - 1) / 250);
    *out++ = '.';
    out = putNumber(out, 1 + (i - 1) % 250);
    *out = '\0';
}

int parseNumber(const char **s)
{
    int v = 0;
    while (**s >= '0' && **s <= '9')
        v = v * 10 + (*(*s)++ - '0');
    return v;
}

int indexOf(const char *ip)
{
    if (std::strncmp(ip, "127.0.", 6) != 0)
        return 0;
    ip += 6;
    const int c = parseNumber(&ip);
    if (*ip++ != '.')
        return 0;
    return (c - 9) * 250 + parseNumber(&ip);
}

// Hostnames in scan order are scrambled, and every third one is capitalised,
// so that the sort has real work and the letter case matters.
void hostnameOf(int i, char *out)
{
    const int n = (i * 379) % ScannedCount;
    out = putText(out, i % 3 ? "ctl-" : "Ctl-");
    for (int div = 1000; div > 0; div /= 10)
        *out++ = char('0' + n / div % 10);
    *out = '\0';
}

bool availableOf(int i) { return i % 5 != 0; }

// The connected slaves are scan entries too, so that they show greyed.
int connectedIndex(int k) { return 1 + (k * 97) % ScannedCount; }

// A controller with 1000 scanned controllers, answering from memory.
class InstantIOManager : public IOManager
{
public:
    explicit InstantIOManager(int connected) : m_connected(connected) {}
    ~InstantIOManager() override {}

    int set_timeout(int, int, int) override { return 0; }
    int send_command(char *answer, const char *, ...) override
    {
        std::snprintf(answer, AnswerSize, "%s", ControllerProtocol::OkReply);
        ++m_requests;
        return 0;
    }
    int get_parameter(char *answer, const char *format, ...) override
    {
        char req[ControllerProtocol::MaxRequestLength + 1];
        va_list ap;
        va_start(ap, format);
        std::vsnprintf(req, sizeof req, format, ap);
        va_end(ap);
        ++m_requests;
        return answerText(req, answer);
    }
    int get_parameter_int(int *value, const char *format, ...) override
    {
        char req[ControllerProtocol::MaxRequestLength + 1];
        va_list ap;
        va_start(ap, format);
        std::vsnprintf(req, sizeof req, format, ap);
        va_end(ap);
        ++m_requests;
        if (std::strcmp(req, "cascade number_of_scanned_slaves") == 0) {
            *value = ScannedCount;
            return 0;
        }
        if (std::strcmp(req, "cascade number_of_connected_slaves") == 0) {
            *value = m_connected;
            return 0;
        }
        return -4;
    }
    int set_parameter(const char *, ...) override
    {
        ++m_requests;
        return 0;
    }
    int request_count() const override { return m_requests; }
    void send_message(const char *, const char *, int, const char *text) override
    {
        std::fprintf(stderr, "message from the dialog: %s\n", text);
    }

private:
    static bool startsWith(const char *s, const char *prefix, const char **rest)
    {
        const size_t n = std::strlen(prefix);
        if (std::strncmp(s, prefix, n) != 0)
            return false;
        *rest = s + n;
        return true;
    }

    int answerText(const char *req, char *answer)
    {
        const char *arg = nullptr;
        if (startsWith(req, "cascade scanned_slave d", &arg)) {
            ipOf(parseNumber(&arg), answer);
        } else if (startsWith(req, "cascade scanned_slave_controller ", &arg)) {
            hostnameOf(indexOf(arg), answer);
            std::strcat(answer, " VESTRAL v2.7.1");
        } else if (startsWith(req, "cascade scanned_slave_available ", &arg)) {
            std::strcpy(answer, availableOf(indexOf(arg)) ? "yes" : "no");
        } else if (startsWith(req, "cascade connected_slave d", &arg)) {
            ipOf(connectedIndex(parseNumber(&arg)), answer);
        } else if (startsWith(req, "system hostname_slave ", &arg)) {
            hostnameOf(indexOf(arg), answer);
        } else if (startsWith(req, "cascade connected_slave_available ", &arg)) {
            std::strcpy(answer, "yes");
        } else {
            return -4;
        }
        return 0;
    }

    int m_connected;
    int m_requests = 0;
};

struct Row
{
    QString name;
    QString ip;
    QString available;
    bool grey;
};

// The rows the dialog shows, worked out once, in the dialog's order.
std::vector<Row> expectedRows(int connectedCount)
{
    std::vector<bool> connected(ScannedCount + 1, false);
    for (int k = 1; k <= connectedCount; ++k)
        connected[connectedIndex(k)] = true;
    std::vector<Row> rows;
    for (int i = 1; i <= ScannedCount; ++i) {
        char ip[32];
        char host[64];
        ipOf(i, ip);
        hostnameOf(i, host);
        const bool avail = availableOf(i) && !connected[i];
        rows.push_back({QString::fromLatin1(host), QString::fromLatin1(ip),
                        QString::fromLatin1(avail ? "yes" : "no"), !avail});
    }
    std::stable_sort(rows.begin(), rows.end(), [](const Row &a, const Row &b) {
        return QString::compare(a.name, b.name, Qt::CaseInsensitive) < 0;
    });
    return rows;
}


// The floor: everything prepared, nothing but the table fill itself.
void cheapestFill(QTableWidget *table, const std::vector<Row> &rows, const QBrush &grey)
{
    table->setUpdatesEnabled(false);
    table->clearContents();
    table->setRowCount(int(rows.size()));
    for (int r = 0; r < int(rows.size()); ++r) {
        const Row &row = rows[size_t(r)];
        auto *name = new QTableWidgetItem(row.name);
        auto *ip = new QTableWidgetItem(row.ip);
        auto *avail = new QTableWidgetItem(row.available);
        if (row.grey) {
            name->setForeground(grey);
            ip->setForeground(grey);
            avail->setForeground(grey);
        }
        table->setItem(r, 0, name);
        table->setItem(r, 1, ip);
        table->setItem(r, 2, avail);
    }
    table->setUpdatesEnabled(true);
}

// The two tables must show the same rows, or the comparison means nothing.
bool sameRows(QTableWidget *a, QTableWidget *b)
{
    if (a->rowCount() != b->rowCount() || a->rowCount() != ScannedCount)
        return false;
    for (int r = 0; r < a->rowCount(); ++r) {
        for (int c = 0; c < 3; ++c) {
            const QTableWidgetItem *x = a->item(r, c);
            const QTableWidgetItem *y = b->item(r, c);
            if (!x || !y || x->text() != y->text() || x->foreground() != y->foreground())
                return false;
        }
        if (a->rowHeight(r) != b->rowHeight(r))
            return false;
    }
    return true;
}

// One comparison, with connectedCount connected slaves in the selected
// table (the dialog greys them in the available list).
bool compare(int connectedCount, const std::string &note)
{
    InstantIOManager iom(connectedCount);
    BackendVersions versions(VersionInfo(2, 7, 1), VersionInfo(1, 9, 0), VersionInfo(2, 7, 1),
                             QStringLiteral("VESTRAL"));
    CascadedSettingsDlg dialog(&iom, nullptr, &versions);
    CascadedSettingsDlg floorDialog(&iom, nullptr, &versions);
    DialogAccess::readConnectedSlaves(dialog);
    DialogAccess::readConnectedSlaves(floorDialog);
    dialog.show();
    floorDialog.show();
    QApplication::processEvents();

    QTableWidget *floorTable = DialogAccess::ui(floorDialog).tableWidget_available;
    floorTable->verticalHeader()->setDefaultSectionSize(RowHeight);
    const std::vector<Row> rows = expectedRows(connectedCount);
    const QBrush grey(Qt::gray);

    // One pass each, then the result is checked before anything is timed.
    const int before = iom.request_count();
    DialogAccess::rebuildAvailable(dialog);
    const int perRebuild = iom.request_count() - before;
    cheapestFill(floorTable, rows, grey);
    QApplication::processEvents();
    if (!sameRows(DialogAccess::ui(dialog).tableWidget_available, floorTable)) {
        std::printf("bench_available_list: the dialog and the floor show different rows; nothing measured\n");
        ++benchkit::failures();
        return false;
    }

    benchkit::Comparison c;
    c.title = "Rebuilding the available list of 1000 scanned controllers, " + std::to_string(connectedCount) +
              " connected slaves (zero-latency IOManager, " + std::to_string(perRebuild) + " requests)";
    c.unit = "ms";
    c.unitScale = 1e3;
    c.rounds = benchkit::envInt("BENCH_ROUNDS", 30);
    c.iterations = benchkit::envInt("BENCH_LIST_ITERATIONS", 5);
    c.variants = {
        {"dialog: update_listAvailableSlaves",
         [&](int n) {
             for (int i = 0; i < n; ++i) {
                 DialogAccess::rebuildAvailable(dialog);
                 QApplication::processEvents();
             }
             return true;
         }},
        {"floor: cheapest fill of the sorted rows",
         [&](int n) {
             for (int i = 0; i < n; ++i) {
                 cheapestFill(floorTable, rows, grey);
                 QApplication::processEvents();
             }
             return true;
         }},
        // Where the dialog's time goes: its table fill alone (the list already
        // built and sorted), and the 3001 requests alone.
        {"  part: the dialog's table fill alone",
         [&](int n) {
             for (int i = 0; i < n; ++i) {
                 DialogAccess::refillAvailableTable(dialog);
                 QApplication::processEvents();
             }
             return true;
         }},
        {"  part: the 3001 requests alone",
         [&](int n) {
             char answer[AnswerSize];
             int value = 0;
             bool ok = true;
             for (int i = 0; i < n; ++i) {
                 ok = iom.get_parameter_int(&value, "cascade number_of_scanned_slaves") == 0 && ok;
                 for (int k = 1; k <= value; ++k) {
                     char ip[AnswerSize];
                     ok = iom.get_parameter(ip, "cascade scanned_slave d%2.2d", k) == 0 && ok;
                     ok = iom.get_parameter(answer, "cascade scanned_slave_controller %s", ip) == 0 && ok;
                     ok = iom.get_parameter(answer, "cascade scanned_slave_available %s", ip) == 0 && ok;
                 }
             }
             return ok;
         }},
    };
    c.ratios = {{0, 1, 2.0}, {2, 1, 0}, {3, 1, 0}};
    return benchkit::runAndPrint(c, note);
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const int cpus = benchkit::onlineCpus();
    const int cpu = benchkit::pinToOneCpu();
    QApplication app(argc, argv);

    std::printf("bench_available_list: Qt %s, platform %s\n",
                QLibraryInfo::version().toString().toLatin1().constData(),
                QApplication::platformName().toLatin1().constData());
    const std::string note = cpu >= 0 ? "; pinned to CPU " + std::to_string(cpu) + " (of " +
                                            std::to_string(cpus) + ")"
                                      : "; not pinned";
    compare(0, note);
    compare(8, note);
    // Missed targets are printed above; the exit code only says whether
    // everything could be measured.
    return benchkit::failures() == 0 ? 0 : 1;
}
