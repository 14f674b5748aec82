// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/Change.h"
#include "client/changes/History.h"
#include "client/settings/Policies.h"
#include "tests/support/Rows.h"

#include <QJsonDocument>
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

/// A store of a policy of PAM, of which is told what stands against a change; counts the looks at it, and writes.
class GuardedStore : public ToldStore
{
public:
    GuardedStore(QString obstacle, Preview preview)
        : ToldStore({}, {{}, length(12)}), m_obstacle(std::move(obstacle)), m_preview(std::move(preview))
    {
    }

    StoreName name() const override
    {
        return {StoreName::Kind::Policy, QStringLiteral("complexity")};
    }
    QString phrase() const override
    {
        return QStringLiteral("the complexity policy");
    }
    QString obstacle() const override
    {
        return m_obstacle;
    }
    Preview preview(const Settings &settings) const override
    {
        ++previews;
        return settings == length(12) ? m_preview : Preview();
    }
    Outcome write(const Settings &settings) override
    {
        ++writes;
        return ToldStore::write(settings);
    }
    static Settings length(int characters)
    {
        return {{QStringLiteral("minlen"), qlonglong(characters)},
                {QStringLiteral("gecoscheck"), false},
                {QStringLiteral("enforce_for_root"), false},
                {QStringLiteral("reject_username"), false}};
    }

    mutable int previews = 0;
    int writes = 0;

private:
    QString m_obstacle;
    Preview m_preview;
};

Q_DECLARE_METATYPE(Preview)
Q_DECLARE_METATYPE(ExitCode)
Q_DECLARE_METATYPE(Outcome)
Q_DECLARE_METATYPE(Reading)

class ChangeTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keepsTheWayBack_data();
    void keepsTheWayBack();
    void keepsUndoOnlyIfItMayBeInForce();
    void beginsOnlyWhatNothingStandsAgainst_data();
    void beginsOnlyWhatNothingStandsAgainst();
    void looksAheadForPoliciesOfPamAlone();
    void showsADryRunInADocument();
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
    // their tool may put them in force later
    const Outcome filesChanged{ExitCode::Failed, QStringLiteral("no"), false, true};
    const Outcome locked{ExitCode::Busy, QStringLiteral("no"), false, true};
    add("failed, with other files", filesChanged, before, ExitCode::Failed, 0, 1);
    add("busy, with other files", locked, before, ExitCode::Busy, 0, 1);
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
    QTEST(static_cast<int>(History().entries().size()), "kept");
}

void ChangeTest::keepsUndoOnlyIfItMayBeInForce()
{
    const Outcome filesChanged{ExitCode::Failed, QStringLiteral("no"), false, true};
    for (const int days : {90, 7}) {
        ToldStore store(filesChanged, {{}, interval(days)});
        const QTemporaryDir folder;
        qputenv("XDG_STATE_HOME", folder.path().toLocal8Bit());

        performChange({&store, {{}, interval(90)}, interval(7), QStringLiteral("undo"), true}, {});

        QCOMPARE(store.readings, 1);
        QCOMPARE(History().entries().size(), days == 90 ? 0 : 1);
    }
}

void ChangeTest::beginsOnlyWhatNothingStandsAgainst_data()
{
    const QString none;
    const QString obstacle = QStringLiteral("no module");
    const Preview fine{{}, {{QStringLiteral("/x"), "a", "b", {}}}};
    const Preview loss{{}, {{QStringLiteral("/x"), "a", "b", {"a"}}}};
    const Preview failure{{ExitCode::Failed, QStringLiteral("no")}, {}};
    const Rows<QString, Preview, ExitCode, int> row("obstacle", "preview", "code", "previews");
    row("nothing", none, fine, ExitCode::Done, 1);
    row("loss", none, loss, ExitCode::Loss, 1);
    row("failure", none, failure, ExitCode::Failed, 1);
    row("obstacle", obstacle, fine, ExitCode::NotInForce, 0);
    row("obstacle before loss", obstacle, loss, ExitCode::NotInForce, 0);
}

void ChangeTest::beginsOnlyWhatNothingStandsAgainst()
{
    QFETCH(QString, obstacle);
    QFETCH(Preview, preview);
    QFETCH(ExitCode, code);
    const QTemporaryDir folder;
    qputenv("XDG_STATE_HOME", folder.path().toLocal8Bit());
    GuardedStore store(obstacle, preview);
    const Change change{&store, {{}, GuardedStore::length(8)}, GuardedStore::length(12), QStringLiteral("set")};

    QCOMPARE(performChange(change, {}), code);
    QCOMPARE(store.writes, code == ExitCode::Done ? 1 : 0);
    QTEST(store.previews, "previews");
    QCOMPARE(History().entries().size(), store.writes);

    store.writes = 0;
    QCOMPARE(performChange(change, {true, false}), code);
    QCOMPARE(performChange(change, {true, true}), preview.outcome.code);
    QCOMPARE(store.writes, 0);

    QCOMPARE(performChange(change, {false, true}), ExitCode::Done);
    QCOMPARE(store.writes, 1);
}

void ChangeTest::looksAheadForPoliciesOfPamAlone()
{
    const QTemporaryDir folder;
    qputenv("XDG_STATE_HOME", folder.path().toLocal8Bit());

    class NeverAsked : public ToldStore
    {
    public:
        using ToldStore::ToldStore;
        QString obstacle() const override
        {
            return QStringLiteral("asked");
        }
        Preview preview(const Settings &) const override
        {
            return {{ExitCode::Failed, QStringLiteral("asked")}, {}};
        }
    } store({}, {{}, interval(7)});

    QCOMPARE(performChange({&store, {{}, interval(90)}, interval(7), QStringLiteral("set")}, {}), ExitCode::Done);
}

void ChangeTest::showsADryRunInADocument()
{
    GuardedStore store({}, {{}, {{QStringLiteral("/x"), "a\n", "b\n", {}}}});
    QJsonArray changes;
    const ChangeMode mode{true, false, &changes};
    const Settings wanted = GuardedStore::length(12);

    QCOMPARE(performChange({&store, {{}, GuardedStore::length(8)}, wanted, {}}, mode), ExitCode::Done);
    QCOMPARE(performChange({&store, {{ExitCode::Failed, QStringLiteral("no")}, {}}, wanted, {}}, mode), ExitCode::Done);

    const QByteArray expected = R"([{"of": "complexity", "now": {NOW}, "then": {THEN},
        "files": [{"path": "/x", "diff": "--- /x\n+++ /x\n@@ -1 +1 @@\n-a\n+b\n", "lost": []}]},
        {"of": "complexity", "now": null, "then": {THEN},
        "files": [{"path": "/x", "diff": "--- /x\n+++ /x\n@@ -1 +1 @@\n-a\n+b\n", "lost": []}]}])";
    const QByteArray settings = R"("enforce_for_root": false, "gecoscheck": false, "reject_username": false,
        "lcredit": null, "ucredit": null, "dcredit": null, "ocredit": null, "minlen": )";
    const QByteArray document = QByteArray(expected).replace("NOW", settings + "8").replace("THEN", settings + "12");
    QCOMPARE(changes, QJsonDocument::fromJson(document).array());
}

QTEST_GUILESS_MAIN(ChangeTest)
#include "ChangeTest.moc"
