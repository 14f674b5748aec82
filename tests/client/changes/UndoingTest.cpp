// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/Undoing.h"

#include "client/changes/Change.h"
#include "client/changes/History.h"
#include "client/settings/Assignments.h"
#include "client/settings/Policies.h"
#include "client/stores/SettingsStore.h"

#include <QTemporaryDir>
#include <QTest>

namespace
{
const SettingSchema &expiration()
{
    return findPolicy(QStringLiteral("expiration"))->schema;
}

/// "maxInterval=7 minInterval=1"
Settings settingsOf(const QString &text)
{
    Wishes wishes;
    const QString wrong =
        parseAssignments(expiration(), QString(), text.split(QLatin1Char(' '), Qt::SkipEmptyParts), &wishes);
    return wrong.isEmpty() ? fulfilled(expiration(), {}, wishes) : Settings();
}

QString textOf(const Settings &settings)
{
    QStringList words;
    for (const QString &key : expiration().keys()) {
        if (settings.contains(key)) {
            words += key + QLatin1Char('=') + settings.value(key).toString();
        }
    }
    return words.join(QLatin1Char(' '));
}

/// Is read as it is told, and remembers what it is to write.
class MemoryStore : public SettingsStore
{
public:
    explicit MemoryStore(const Reading &now) : m_now(now)
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
        return expiration();
    }
    Reading read() override
    {
        return m_now;
    }
    Outcome write(const Settings &settings) override
    {
        written += textOf(settings);
        m_now = {{}, settings};
        return {};
    }

    QStringList written;

private:
    Reading m_now;
};

HistoryEntry changeOf(const QString &before, const std::optional<Settings> &wanted)
{
    return {QString(), QDateTime::currentDateTimeUtc(), {}, QStringLiteral("set"), settingsOf(before), wanted};
}
}

class UndoingTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void takesBackWhatTheChangeChanged_data();
    void takesBackWhatTheChangeChanged();
    void bringsBackAllOfAnEntryWithoutWhatWasWanted();
    void bringsBackAllWhereNothingCanBeRead();
    void endsWhereReadingMustNotGoOn_data();
    void endsWhereReadingMustNotGoOn();
    void canBeUndone();

private:
    std::unique_ptr<QTemporaryDir> m_folder;
};

void UndoingTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    qputenv("XDG_STATE_HOME", m_folder->path().toLocal8Bit());
}

void UndoingTest::takesBackWhatTheChangeChanged_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("wanted");
    QTest::addColumn<QString>("now");
    QTest::addColumn<QString>("result");
    const auto add = [](const char *row, const char *before, const char *wanted, const char *now, const char *result) {
        QTest::newRow(row) << QString::fromLatin1(before) << QString::fromLatin1(wanted) << QString::fromLatin1(now)
                           << QString::fromLatin1(result);
    };
    add("the last change", "maxInterval=90", "maxInterval=7", "maxInterval=7", "maxInterval=90");
    add("another key was set since",
        "maxInterval=90",
        "maxInterval=7",
        "maxInterval=7 warningInterval=3",
        "maxInterval=90 warningInterval=3");
    add("another key was dropped since",
        "maxInterval=90 minInterval=1",
        "maxInterval=7 minInterval=1",
        "maxInterval=7",
        "maxInterval=90");
    add("its key was set since", "maxInterval=90", "maxInterval=7", "maxInterval=8", "maxInterval=90");
    add("its key was dropped since", "maxInterval=90", "maxInterval=7", "", "maxInterval=90");
    add("taken back already", "maxInterval=90", "maxInterval=7", "maxInterval=90", "maxInterval=90");
    add("a setting that was new", "", "minInterval=1", "minInterval=1 maxInterval=8", "maxInterval=8");
    add("settings that were dropped",
        "maxInterval=90 minInterval=1 warningInterval=3",
        "maxInterval=90",
        "maxInterval=8",
        "maxInterval=8 minInterval=1 warningInterval=3");
    add("nothing", "maxInterval=90", "maxInterval=90", "maxInterval=8", "maxInterval=8");
}

void UndoingTest::takesBackWhatTheChangeChanged()
{
    QFETCH(QString, before);
    QFETCH(QString, wanted);
    QFETCH(QString, now);
    QFETCH(QString, result);
    MemoryStore store({{}, settingsOf(now)});

    QCOMPARE(static_cast<int>(undoChange(changeOf(before, settingsOf(wanted)), &store, {true})), 0);
    QCOMPARE(store.written, QStringList());

    QCOMPARE(static_cast<int>(undoChange(changeOf(before, settingsOf(wanted)), &store, {})), 0);
    QCOMPARE(textOf(settingsOf(result)), result);
    QCOMPARE(store.written, QStringList(result));
}

void UndoingTest::bringsBackAllOfAnEntryWithoutWhatWasWanted()
{
    MemoryStore store({{}, settingsOf(QStringLiteral("maxInterval=7 warningInterval=3"))});

    undoChange(changeOf(QStringLiteral("maxInterval=90"), {}), &store, {});

    QCOMPARE(store.written, QStringList(QStringLiteral("maxInterval=90")));
}

void UndoingTest::bringsBackAllWhereNothingCanBeRead()
{
    MemoryStore store({{ExitCode::Failed, QStringLiteral("no")}, {}});

    undoChange(changeOf(QStringLiteral("maxInterval=90 minInterval=1"),
                        settingsOf(QStringLiteral("maxInterval=7 minInterval=1"))),
               &store,
               {});

    QCOMPARE(store.written, QStringList(QStringLiteral("maxInterval=90 minInterval=1")));
    QCOMPARE(History().entries().size(), 0);
}

void UndoingTest::endsWhereReadingMustNotGoOn_data()
{
    QTest::addColumn<int>("code");
    QTest::newRow("refused") << static_cast<int>(ExitCode::NotAuthorized);
    QTest::newRow("busy") << static_cast<int>(ExitCode::Busy);
}

void UndoingTest::endsWhereReadingMustNotGoOn()
{
    QFETCH(int, code);
    MemoryStore store({{static_cast<ExitCode>(code), QStringLiteral("no")}, {}});

    const ExitCode end = undoChange(changeOf(QString(), settingsOf(QStringLiteral("maxInterval=7"))), &store, {});

    QCOMPARE(static_cast<int>(end), code);
    QCOMPARE(store.written, QStringList());
    QVERIFY(!QFile::exists(History().folder()));
}

void UndoingTest::canBeUndone()
{
    MemoryStore store({{}, settingsOf(QStringLiteral("maxInterval=7 minInterval=1"))});
    undoChange(changeOf(QString(), settingsOf(QStringLiteral("maxInterval=7"))), &store, {});

    const HistoryEntry undo = History().entries().constFirst();
    undoChange(undo, &store, {});

    QCOMPARE(undo.command, QStringLiteral("undo of: set"));
    QCOMPARE(store.written,
             QStringList({QStringLiteral("minInterval=1"), QStringLiteral("maxInterval=7 minInterval=1")}));
}

QTEST_GUILESS_MAIN(UndoingTest)
#include "UndoingTest.moc"
