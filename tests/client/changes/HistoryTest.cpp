// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/History.h"
#include "client/settings/Policies.h"
#include "client/stores/Stores.h"
#include "tests/support/Files.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TypedMap.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <pwd.h>
#include <unistd.h>

namespace
{
const SettingSchema &schema()
{
    return findPolicy(QStringLiteral("expiration"))->schema;
}

HistoryEntry entryOf(int second, int value)
{
    return {QString(),
            QDateTime(QDate(2026, 11, 21), QTime(4, 5, second, 678), Qt::UTC),
            StoreName{StoreName::Kind::Policy, QStringLiteral("expiration")},
            QStringLiteral("set expiration maxInterval=%1").arg(value),
            {{QStringLiteral("maxInterval"), qlonglong(value)}}};
}

QString save(const HistoryEntry &entry)
{
    QString file;
    return History().save(entry, schema(), &file).succeeded() ? file : QString();
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
    void keepsAccountsToo();
    void listsWhatCannotBeUnderstood_data();
    void listsWhatCannotBeUnderstood();
    void failsWhereNothingCanBeKept();
    void takesFolderByItsName();
    void understandsValuesThatMayNotBeSet_data();
    void understandsValuesThatMayNotBeSet();

private:
    std::unique_ptr<QTemporaryDir> m_folder;
};

void HistoryTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    qputenv("XDG_STATE_HOME", m_folder->path().toLocal8Bit());
}

void HistoryTest::isInTheStateFolder_data()
{
    QTest::addColumn<QByteArray>("stateHome");
    QTest::addColumn<QByteArray>("home");
    QTest::addColumn<QString>("folder");
    const QByteArray home("/some/home");
    QTest::newRow("as set") << QByteArray("/some/state") << home << "/some/state/accountpolicyctl";
    QTest::newRow("not set") << QByteArray() << home << "/some/home/.local/state/accountpolicyctl";
    QTest::newRow("empty") << QByteArray("") << home << "/some/home/.local/state/accountpolicyctl";
    QTest::newRow("relative") << QByteArray("state") << home << "/some/home/.local/state/accountpolicyctl";
    QTest::newRow("slash at its end") << QByteArray("/some/state/") << home << "/some/state/accountpolicyctl";
    const QString ofAccount = QFile::decodeName(getpwuid(geteuid())->pw_dir);
    const QString fallback = QDir::cleanPath(ofAccount + QStringLiteral("/.local/state/accountpolicyctl"));
    QTest::newRow("no home") << QByteArray() << QByteArray() << fallback;
    QTest::newRow("empty home") << QByteArray() << QByteArray("") << fallback;
    QTest::newRow("relative home") << QByteArray() << QByteArray("home") << fallback;
    QTest::newRow("as set without home") << QByteArray("/some/state") << QByteArray() << "/some/state/accountpolicyctl";
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
    const QString file = save(entryOf(6, 90));

    QCOMPARE(file,
             QStringLiteral("%1/accountpolicyctl/20261121T040506678-%2.json")
                 .arg(m_folder->path())
                 .arg(QCoreApplication::applicationPid()));
    QCOMPARE(contentOf(file),
             QByteArray("{\n"
                        "    \"before\": {\n"
                        "        \"expireDate\": null,\n"
                        "        \"inactiveInterval\": null,\n"
                        "        \"maxInterval\": 90,\n"
                        "        \"minInterval\": null,\n"
                        "        \"warningInterval\": null\n"
                        "    },\n"
                        "    \"command\": \"set expiration maxInterval=90\",\n"
                        "    \"of\": \"expiration\",\n"
                        "    \"time\": \"2026-11-21T04:05:06.678Z\"\n"
                        "}\n"));
}

void HistoryTest::listsNewestFirst()
{
    for (int second : {7, 9, 8}) {
        QVERIFY(!save(entryOf(second, second)).isEmpty());
    }

    const QVector<HistoryEntry> entries = History().entries();

    QCOMPARE(entries.size(), 3);
    for (int i = 0; i < 3; ++i) {
        const HistoryEntry expected = entryOf(9 - i, 9 - i);
        QCOMPARE(entries.at(i).time, expected.time);
        QCOMPARE(entries.at(i).store->text(), QStringLiteral("expiration"));
        QCOMPARE(entries.at(i).command, expected.command);
        QCOMPARE(typedEntries(entries.at(i).before), typedEntries(expected.before));
        QVERIFY(QFile::exists(entries.at(i).file));
    }
}

void HistoryTest::keepsAHundred()
{
    HistoryEntry entry = entryOf(0, 1);
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

void HistoryTest::keepsAccountsToo()
{
    HistoryEntry entry = entryOf(1, 60);
    entry.store = StoreName{StoreName::Kind::Account, QStringLiteral("alice")};
    QString file;
    QVERIFY(History().save(entry, accountSchema(), &file).succeeded());

    QCOMPARE(History().entries().first().store->text(), QStringLiteral("user alice"));
    QCOMPARE(typedEntries(History().entries().first().before), typedEntries(entry.before));
}

void HistoryTest::listsWhatCannotBeUnderstood_data()
{
    QTest::addColumn<QByteArray>("text");
    const char start[] = R"({"command": "x", "time": "2026-11-21T04:05:06.678Z", )";
    QTest::newRow("no JSON") << QByteArray("x");
    QTest::newRow("unknown policy") << QByteArray(start) + R"("of": "x", "before": {}})";
    QTest::newRow("unknown key") << QByteArray(start) + R"("of": "lockout", "before": {"x": 1}})";
    QTest::newRow("value of another type") << QByteArray(start) + R"("of": "lockout", "before": {"deny": "3"}})";
    QTest::newRow("nothing before") << QByteArray(start) + R"("of": "lockout"})";
    QTest::newRow("no time") << QByteArray(R"({"command": "x", "of": "lockout", "before": {}})");
}

void HistoryTest::listsWhatCannotBeUnderstood()
{
    QFETCH(QByteArray, text);
    const QString file = m_folder->filePath(QStringLiteral("accountpolicyctl/1.json"));
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

    const Outcome outcome = History().save(entryOf(6, 1), schema(), &file);

    QCOMPARE(static_cast<int>(outcome.code), static_cast<int>(ExitCode::Failed));
    QCOMPARE(
        outcome.error,
        QStringLiteral("nothing was changed, since the way back cannot be saved; set XDG_STATE_HOME to a folder of "
                       "yours\n")
            + file + QStringLiteral(": Not a directory"));
}

void HistoryTest::takesFolderByItsName()
{
    const QString folder = m_folder->filePath(QStringLiteral("%1 %2 %3"));
    qputenv("XDG_STATE_HOME", QFile::encodeName(folder));

    const QString file = save(entryOf(6, 90));

    QCOMPARE(file,
             folder + QStringLiteral("/accountpolicyctl/20261121T040506678-")
                 + QString::number(QCoreApplication::applicationPid()) + QStringLiteral(".json"));
    QVERIFY(QFile::exists(file));
    QCOMPARE(History().entries().size(), 1);
}

void HistoryTest::understandsValuesThatMayNotBeSet_data()
{
    QTest::addColumn<QString>("store");
    QTest::addColumn<QString>("key");
    QTest::addColumn<qlonglong>("value");
    const auto row = [](const char *store, const char *key, qlonglong value) {
        QTest::addRow("%s %s=%lld", store, key, value)
            << QString::fromLatin1(store) << QString::fromLatin1(key) << value;
    };
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

void HistoryTest::understandsValuesThatMayNotBeSet()
{
    QFETCH(QString, store);
    QFETCH(QString, key);
    QFETCH(qlonglong, value);
    const StoreName name = StoreName::fromText(store);
    const SettingSchema &schema = *schemaOf(name);
    HistoryEntry entry = entryOf(6, 1);
    entry.store = name;
    entry.before = normalized(schema, {{key, value}});
    QString file;

    QVERIFY(History().save(entry, schema, &file).succeeded());

    QCOMPARE(History().entries().constFirst().store->text(), store);
    QCOMPARE(typedEntries(History().entries().constFirst().before), typedEntries(entry.before));
    QCOMPARE(entry.before.value(key), QVariant(value));
}

QTEST_GUILESS_MAIN(HistoryTest)
#include "HistoryTest.moc"
