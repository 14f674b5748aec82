// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The policies of PAM's modules as users change them through the service, which polkit lets them or not: the sessions in
// ModuleAccessTest.answers, and those in the other files beside it, each under a rule of polkit's.

#include "tests/endtoend/PolkitRule.h"
#include "tests/endtoend/ServiceCall.h"
#include "tests/endtoend/Sessions.h"

#include <QDir>
#include <QTest>

#include <memory>

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
}

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

QTEST_GUILESS_MAIN(ModuleAccessTest)
#include "ModuleAccessTest.moc"
