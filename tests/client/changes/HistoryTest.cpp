// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/History.h"
#include "client/stores/Stores.h"
#include "tests/support/Files.h"
#include "tests/support/TextRows.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TypedMap.h"

#include <QDir>
#include <QTemporaryDir>

#include <pwd.h>
#include <unistd.h>

namespace
{
/// Of a change at that second.
HistoryEntry entryOf(int second, const QString &store, const QVariantMap &before)
{
    return {QString(),
            QDateTime(QDate(2026, 11, 21), QTime(4, 5, second, 678), Qt::UTC),
            StoreName::fromText(store),
            QStringLiteral("set something %1").arg(second),
            before};
}

HistoryEntry entryOf(int second)
{
    return entryOf(second, QStringLiteral("expiration"), {{QStringLiteral("maxInterval"), qlonglong(second)}});
}

QString save(const HistoryEntry &entry)
{
    QString file;
    return History().save(entry, &file).succeeded() ? file : QString();
}

/// "time store command: settings"
QString described(const HistoryEntry &entry)
{
    return QStringLiteral("%1 %2 %3: %4")
        .arg(entry.time.toString(Qt::ISODateWithMs),
             entry.store ? entry.store->text() : QStringLiteral("nothing"),
             entry.command,
             typedEntries(entry.before).join(QStringLiteral(", ")));
}
}

class HistoryTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void isInTheStateFolder_data();
    void isInTheStateFolder();
    void keepsEntryAsText();
    void listsNewestFirst();
    void keepsAHundred();
    void listsWhatCannotBeUnderstood_data();
    void listsWhatCannotBeUnderstood();
    void failsWhereNothingCanBeKept();
    void understandsWhatItKeeps_data();
    void understandsWhatItKeeps();

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_state;
};

void HistoryTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    // a name is nothing to put texts into
    m_state = m_folder->filePath(QStringLiteral("%1 %2 %3"));
    qputenv("XDG_STATE_HOME", QFile::encodeName(m_state));
}

void HistoryTest::isInTheStateFolder_data()
{
    QTest::addColumn<QByteArray>("stateHome");
    QTest::addColumn<QByteArray>("home");
    QTest::addColumn<QString>("folder");
    const auto row = [](const char *name, const QByteArray &stateHome, const QByteArray &home, const QString &parent) {
        QTest::newRow(name) << stateHome << home << parent + QLatin1String("/accountpolicyctl");
    };
    const QByteArray home("/some/home");
    const QByteArray unset;
    const QString state = QStringLiteral("/some/state");
    const QString ofHome = QStringLiteral("/some/home/.local/state");
    const QString ofAccount =
        QDir::cleanPath(QFile::decodeName(getpwuid(geteuid())->pw_dir) + QLatin1String("/.local/state"));
    row("as set", "/some/state", home, state);
    row("not set", unset, home, ofHome);
    row("empty", "", home, ofHome);
    row("relative", "state", home, ofHome);
    row("slash at its end", "/some/state/", home, state);
    row("no home", unset, unset, ofAccount);
    row("empty home", unset, "", ofAccount);
    row("relative home", unset, "home", ofAccount);
    row("as set without home", "/some/state", unset, state);
}

void HistoryTest::isInTheStateFolder()
{
    QFETCH(QByteArray, stateHome);
    QFETCH(QByteArray, home);
    QFETCH(QString, folder);
    const ScopedVariable homeVariable("HOME", home);
    const ScopedVariable stateVariable("XDG_STATE_HOME", stateHome);

    QCOMPARE(History().folder(), folder);
}

void HistoryTest::keepsEntryAsText()
{
    const QString file = save(entryOf(6));

    QCOMPARE(file,
             m_state + QLatin1String("/accountpolicyctl/20261121T040506678-")
                 + QString::number(QCoreApplication::applicationPid()) + QLatin1String(".json"));
    QCOMPARE(contentOf(file), QByteArray(R"({
    "before": {
        "expireDate": null,
        "inactiveInterval": null,
        "maxInterval": 6,
        "minInterval": null,
        "warningInterval": null
    },
    "command": "set something 6",
    "of": "expiration",
    "time": "2026-11-21T04:05:06.678Z"
}
)"));
}

void HistoryTest::listsNewestFirst()
{
    QStringList files;
    for (int second : {7, 9, 8}) {
        files += save(entryOf(second));
    }

    const QVector<HistoryEntry> entries = History().entries();

    QCOMPARE(entries.size(), 3);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(described(entries.at(i)), described(entryOf(9 - i)));
    }
    QCOMPARE(QStringList({entries.at(2).file, entries.at(0).file, entries.at(1).file}), files);
}

void HistoryTest::keepsAHundred()
{
    HistoryEntry entry = entryOf(0);
    for (int i = 0; i < 103; ++i) {
        entry.time = entry.time.addSecs(1);
        entry.command = QString::number(i);
        QVERIFY(!save(entry).isEmpty());
    }

    const QVector<HistoryEntry> entries = History().entries();

    QCOMPARE(entries.size(), 100);
    QCOMPARE(entries.first().command, QStringLiteral("102"));
    QCOMPARE(entries.last().command, QStringLiteral("3"));
}

void HistoryTest::listsWhatCannotBeUnderstood_data()
{
    QTest::addColumn<QByteArray>("text");
    const QStringList texts = linesOf(R"(
x
{"command": "x", "time": "2026-11-21T04:05:06.678Z", "of": "x", "before": {}}
{"command": "x", "time": "2026-11-21T04:05:06.678Z", "of": "lockout", "before": {"x": 1}}
{"command": "x", "time": "2026-11-21T04:05:06.678Z", "of": "lockout", "before": {"deny": "3"}}
{"command": "x", "time": "2026-11-21T04:05:06.678Z", "of": "lockout"}
{"command": "x", "of": "lockout", "before": {}}
)");
    for (const QString &text : texts) {
        QTest::newRow(qPrintable(text)) << text.toUtf8();
    }
}

void HistoryTest::listsWhatCannotBeUnderstood()
{
    QFETCH(QByteArray, text);
    const QString file = m_state + QLatin1String("/accountpolicyctl/1.json");
    writeContent(file, text);

    const QVector<HistoryEntry> entries = History().entries();

    QCOMPARE(entries.size(), 1);
    QCOMPARE(entries.first().file, file);
    QVERIFY(!entries.first().store);
    QCOMPARE(entries.first().before, Settings());
}

void HistoryTest::failsWhereNothingCanBeKept()
{
    qputenv("XDG_STATE_HOME", "/dev/null");
    QString file;

    const Outcome outcome = History().save(entryOf(6), &file);

    QCOMPARE(static_cast<int>(outcome.code), static_cast<int>(ExitCode::Failed));
    QCOMPARE(
        outcome.error,
        QStringLiteral("nothing was changed, since the way back cannot be saved; set XDG_STATE_HOME to a folder of "
                       "yours\n")
            + file + QStringLiteral(": Not a directory"));
}

void HistoryTest::understandsWhatItKeeps_data()
{
    QTest::addColumn<QString>("store");
    QTest::addColumn<QString>("key");
    QTest::addColumn<qlonglong>("value");
    const auto row = [](const char *store, const char *key, qlonglong value) {
        QTest::addRow("%s %s=%lld", store, key, value) << store << key << value;
    };
    row("user alice", "maxInterval", 60);
    // values that may not be set, too
    row("lockout", "deny", -1);
    row("lockout", "deny", 65536);
    row("complexity", "minlen", 4);
    row("complexity", "dcredit", -2147483648LL);
    row("expiration", "maxInterval", -2);
    row("expiration", "inactiveInterval", -7);
    row("expiration", "expireDate", -365);
    row("user alice", "expireDate", 3000000);
    row("user alice", "expireDate", -800000);
    // the shadow database's numbers have 64 bits
    row("user alice", "maxInterval", 4294967296LL);
}

void HistoryTest::understandsWhatItKeeps()
{
    QFETCH(QString, store);
    QFETCH(QString, key);
    QFETCH(qlonglong, value);
    const HistoryEntry entry = entryOf(6, store, normalized(*schemaOf(StoreName::fromText(store)), {{key, value}}));
    QCOMPARE(entry.before.value(key), QVariant(value));

    QVERIFY(!save(entry).isEmpty());

    QCOMPARE(described(History().entries().constFirst()), described(entry));
}

QTEST_GUILESS_MAIN(HistoryTest)
#include "HistoryTest.moc"
