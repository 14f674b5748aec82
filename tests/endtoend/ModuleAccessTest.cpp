// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The policies of PAM's modules as users change them through the service, which polkit lets them or not: the sessions in
// ModuleAccessTest.answers, and those in the other files beside it, each under a rule of polkit's.

#include "tests/endtoend/PolkitRule.h"
#include "tests/endtoend/ServiceCall.h"
#include "tests/endtoend/Sessions.h"
#include "tests/endtoend/StandInForPolkit.h"

#include <QDir>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <functional>

namespace
{
const char activation[] = "/usr/share/dbus-1/system-services/org.accountpolicies.Modules1.service";
const char awayFile[] = "/run/service.away";

const char helpDeskRule[] =
    "polkit.addRule(function(action, subject) {\n"
    "    if (subject.user == 'nobody' && (action.id == 'org.accountpolicies.modules1.list-locked'\n"
    "            || (action.id == 'org.accountpolicies.modules1.unlock'\n"
    "                && action.lookup('account') != 'root'))) {\n"
    "        return polkit.Result.YES;\n"
    "    }\n"
    "});\n";

/// As long as it lives the bus knows no service that it could start.
class NoService
{
public:
    NoService()
    {
        endService();
        shell(root, QStringLiteral("mv %1 %2").arg(QLatin1String(activation), QLatin1String(awayFile)));
    }
    ~NoService()
    {
        shell(root, QStringLiteral("mv %1 %2").arg(QLatin1String(awayFile), QLatin1String(activation)));
    }

private:
    Q_DISABLE_COPY_MOVE(NoService)
};

/// What comes in between while polkit decides whether a client may have its list.
using Event = std::function<void(StandInForPolkit *polkit, const QProcess &client)>;

void startLocked(QProcess *client)
{
    client->start(QStringLiteral("setpriv"),
                  splitWords(QStringLiteral("--reuid 65534 --clear-groups accountpolicyctl locked")));
}
}
Q_DECLARE_METATYPE(Event)

class ModuleAccessTest : public Sessions
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void allowed_data();
    void allowed();
    void refused_data();
    void refused();
    void helpDesk_data();
    void helpDesk();
    void withoutService_data();
    void withoutService();
    void goesTheWayThatIsThere_data();
    void goesTheWayThatIsThere();
    void tellsThatTheServiceIsBusy();
    void tellsWhatCameInBetween_data();
    void tellsWhatCameInBetween();
};

void ModuleAccessTest::cleanup()
{
    QDir(QStringLiteral("/run/faillock")).removeRecursively();
}

void ModuleAccessTest::allowed_data()
{
    addSessions();
}

void ModuleAccessTest::allowed()
{
    const PolkitRule rule(".modules1.", "nobody", "YES");
    play();
}

void ModuleAccessTest::refused_data()
{
    addSessions();
}

void ModuleAccessTest::refused()
{
    const PolkitRule rule(".modules1.", "nobody", "NO");
    play();
}

void ModuleAccessTest::helpDesk_data()
{
    addSessions();
}

void ModuleAccessTest::helpDesk()
{
    const PolkitRule rule(helpDeskRule);
    play();
}

void ModuleAccessTest::withoutService_data()
{
    addSessions();
}

void ModuleAccessTest::withoutService()
{
    const NoService absence;
    play();
}

void ModuleAccessTest::goesTheWayThatIsThere_data()
{
    QTest::addColumn<bool>("asksService");
    QTest::newRow("set faillock deny=4") << true;
    QTest::newRow("locked") << true;
    QTest::newRow("unlock nobody") << true;
    QTest::newRow("set faillock deny=4 --local") << false;
    QTest::newRow("locked --local") << false;
    QTest::newRow("unlock nobody --local") << false;
}

void ModuleAccessTest::goesTheWayThatIsThere()
{
    endService();

    QCOMPARE(client(root, QTest::currentDataTag()).exitCode, 0);

    QTEST(serviceProcess() != 0, "asksService");
}

void ModuleAccessTest::tellsThatTheServiceIsBusy()
{
    const StandInForPolkit polkit;
    const auto others = startCall(nobody, {QStringLiteral("ListLocked"), {}, true, 16});
    QTRY_COMPARE_WITH_TIMEOUT(polkit.questions.size(), 16, eventLimit);

    QCOMPARE(client(nobody, "locked"), failure(5, "the service is busy; try again later"));

    others->kill();
    others->waitForFinished();
}

void ModuleAccessTest::tellsWhatCameInBetween_data()
{
    QTest::addColumn<Event>("event");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QByteArray>("error");
    QTest::newRow("polkit fails") << Event([](StandInForPolkit *polkit, const QProcess &) {
        polkit->fail(polkit->questions.constFirst());
    }) << 3 << QByteArray("not authorized: polkit has not decided about it");
    QTest::newRow("the service ends")
        << Event([](StandInForPolkit *, const QProcess &) {
               kill(static_cast<pid_t>(serviceProcess()), SIGKILL);
           })
        << 1
        << QByteArray("the service does not answer\nMessage recipient disconnected from message bus without replying");
    QTest::newRow("Ctrl-C") << Event([](StandInForPolkit *, const QProcess &client) {
        kill(static_cast<pid_t>(client.processId()), SIGINT);
    }) << 3 << QByteArray("cancelled; the service may still carry it out");
}

void ModuleAccessTest::tellsWhatCameInBetween()
{
    QFETCH(Event, event);
    QFETCH(QByteArray, error);
    StandInForPolkit polkit;
    QProcess process;
    startLocked(&process);
    QTRY_COMPARE_WITH_TIMEOUT(polkit.questions.size(), 1, eventLimit);

    event(&polkit, process);

    QTRY_COMPARE_WITH_TIMEOUT(process.state(), QProcess::NotRunning, eventLimit);
    QTEST(process.exitCode(), "exitCode");
    QCOMPARE(process.readAllStandardError(), complaint(error));
    QCOMPARE(process.readAllStandardOutput(), QByteArray());
}

QTEST_GUILESS_MAIN(ModuleAccessTest)
#include "ModuleAccessTest.moc"
