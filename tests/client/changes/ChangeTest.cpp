// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/Change.h"
#include "client/changes/History.h"
#include "client/settings/Policies.h"

#include <QTemporaryDir>
#include <QTest>

namespace
{
Settings interval(int days)
{
    return {{QStringLiteral("maxInterval"), qlonglong(days)}};
}

/// Answers a write, and the readings after it, as it is told, and counts the readings.
class ToldStore : public SettingsStore
{
public:
    ToldStore(const Outcome &written, const Reading &after) : m_written(written), m_after(after)
    {
    }

    StoreName name() const override
    {
        return {StoreName::Kind::Policy, QStringLiteral("expiration")};
    }
    QString phrase() const override
    {
        return QStringLiteral("the expiration policy");
    }
    const SettingSchema &schema() const override
    {
        return findPolicy(name().name)->schema;
    }
    Reading read() override
    {
        ++readings;
        return m_after;
    }
    Outcome write(const Settings &) override
    {
        return m_written;
    }

    int readings = 0;

private:
    Outcome m_written;
    Reading m_after;
};
}

Q_DECLARE_METATYPE(Outcome)
Q_DECLARE_METATYPE(Reading)

class ChangeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsTheWayBack_data();
    void keepsTheWayBack();
};

void ChangeTest::keepsTheWayBack_data()
{
    const Reading before{{}, interval(90)};
    const Reading wanted{{}, interval(7)};
    const Reading halfway{{}, {}};
    const Reading none{{ExitCode::Failed, QStringLiteral("no")}, {}};
    const Outcome done;
    const Outcome failed{ExitCode::Failed, QStringLiteral("no")};
    const Outcome refused{ExitCode::NotAuthorized, QStringLiteral("no")};
    const Outcome busy{ExitCode::Busy, QStringLiteral("no")};
    const Outcome unanswered{ExitCode::NotAuthorized, QStringLiteral("no"), true};
    QTest::addColumn<Outcome>("written");
    QTest::addColumn<Reading>("after");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<int>("readings");
    QTest::addColumn<int>("kept");
    const auto add =
        [](const char *row, const Outcome &written, const Reading &after, ExitCode code, int readings, int kept) {
            QTest::newRow(row) << written << after << static_cast<int>(code) << readings << kept;
        };
    add("in force", done, wanted, ExitCode::Done, 1, 1);
    add("written, but not in force", done, before, ExitCode::NotInForce, 1, 1);
    add("written, then unreadable", done, none, ExitCode::NotInForce, 1, 1);
    add("failed before anything was changed", failed, before, ExitCode::Failed, 1, 0);
    add("failed halfway", failed, halfway, ExitCode::Failed, 1, 1);
    add("failed, then unreadable", failed, none, ExitCode::Failed, 1, 1);
    // what has not begun needs no other look, which may be refused, too
    add("refused", refused, none, ExitCode::NotAuthorized, 0, 0);
    add("busy", busy, none, ExitCode::Busy, 0, 0);
    add("no answer, but it may still happen", unanswered, before, ExitCode::NotAuthorized, 0, 1);
}

void ChangeTest::keepsTheWayBack()
{
    QFETCH(Outcome, written);
    QFETCH(Reading, after);
    ToldStore store(written, after);
    const QTemporaryDir folder;
    qputenv("XDG_STATE_HOME", folder.path().toLocal8Bit());

    const ExitCode code = performChange({&store, {{}, interval(90)}, interval(7), QStringLiteral("set")}, {});

    QTEST(static_cast<int>(code), "exitCode");
    QTEST(store.readings, "readings");
    QTEST(History().entries().size(), "kept");
}

QTEST_GUILESS_MAIN(ChangeTest)
#include "ChangeTest.moc"
