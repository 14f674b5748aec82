// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "client/changes/History.h"
#include "client/stores/Stores.h"
#include "tests/support/Files.h"
#include "tests/support/ScopedVariable.h"
#include "tests/support/TextRows.h"
#include "tests/support/TypedMap.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimeZone>

#include <pwd.h>
#include <unistd.h>

namespace
{
/// Of a change at that second.
HistoryEntry entryOf(int second, const QString &store, const QVariantMap &before)
{
    return {QString(),
            QDateTime(QDate(2026, 11, 21), QTime(4, 5, second, 678), QTimeZone::utc()).toUTC(),
            StoreName::fromText(store),
            QStringLiteral("set something %1").arg(second),
            before,
            normalized(*schemaOf(StoreName::fromText(store)), {{QStringLiteral("maxInterval"), 365}})};
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

/// "time store command: settings => settings"
QString described(const HistoryEntry &entry)
{
    const QString wanted =
        entry.wanted ? typedEntries(*entry.wanted).join(QStringLiteral(", ")) : QStringLiteral("unknown");
    return QStringLiteral("%1 %2 %3: %4 => %5")
        .arg(entry.time.toString(Qt::ISODateWithMs),
             entry.store ? entry.store->text() : QStringLiteral("nothing"),
             entry.command,
             typedEntries(entry.before).join(QStringLiteral(", ")),
             wanted);
}

QStringList commandsKept()
{
    QStringList commands;
    const auto entries = History().entries();
    for (const HistoryEntry &entry : entries) {
        commands += entry.command;
    }
    return commands;
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
    void keepsLostTexts();
    void listsNewestFirst();
    void sortsBehindAllOthersWhateverTheClock_data();
    void sortsBehindAllOthersWhateverTheClock();
    void keepsAHundred();
    void keepsWhatWasJustSaved();
    void leavesOtherFilesAlone();
    void understandsEntryWithoutWhatWasWanted();
    void listsWhatCannotBeUnderstood_data();
    void listsWhatCannotBeUnderstood();
    void failsWhereNothingCanBeKept();
    void refusesFolderBehindLink();
    void understandsWhatItKeeps_data();
    void understandsWhatItKeeps();

private:
    /// The path of a file among the entries.
    QString kept(const QString &name) const
    {
        return m_state + QLatin1String("/accountpolicyctl/") + name;
    }

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
    addTextRows(R"(
XDG_STATE_HOME=/some/state HOME=/some/home => /some/state
HOME=/some/home => /some/home/.local/state
XDG_STATE_HOME= HOME=/some/home => /some/home/.local/state
XDG_STATE_HOME=state HOME=/some/home => /some/home/.local/state
XDG_STATE_HOME=/some/state/ HOME=/some/home => /some/state
XDG_STATE_HOME=/some/state => /some/state
=> ~/.local/state
HOME= => ~/.local/state
HOME=home => ~/.local/state
)");
}

void HistoryTest::isInTheStateFolder()
{
    QFETCH(QString, input);
    QFETCH(QString, result);
    const auto value = [&](const QString &name) {
        const QRegularExpressionMatch match = QRegularExpression(name + QStringLiteral("=(\\S*)")).match(input);
        return match.hasMatch() ? match.captured(1).toLatin1() : QByteArray();
    };
    const ScopedVariable stateVariable("XDG_STATE_HOME", value(QStringLiteral("XDG_STATE_HOME")));
    const ScopedVariable homeVariable("HOME", value(QStringLiteral("\\bHOME")));
    const QString home = QFile::decodeName(getpwuid(geteuid())->pw_dir);

    QCOMPARE(History().folder(),
             QDir::cleanPath(result.replace(QLatin1Char('~'), home) + QStringLiteral("/accountpolicyctl")));
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
    "time": "2026-11-21T04:05:06.678Z",
    "wanted": {
        "expireDate": null,
        "inactiveInterval": null,
        "maxInterval": 365,
        "minInterval": null,
        "warningInterval": null
    }
}
)"));
}

void HistoryTest::keepsLostTexts()
{
    HistoryEntry entry = entryOf(6);
    entry.lost = {{QStringLiteral("/etc/one"), QStringLiteral("-a\n+b\n")},
                  {QStringLiteral("/etc/two"), QString::fromUtf8("-\xc3\xa4\n")}};

    const QByteArray text = contentOf(save(entry));

    QCOMPARE(History().entries().constFirst().lost, entry.lost);
    QVERIFY2(text.contains(R"(
    "lost": {
        "/etc/one": "-a\n+b\n",
        "/etc/two": "-ä\n"
    },
)"),
             text.constData());
}

void HistoryTest::listsNewestFirst()
{
    QStringList files;
    for (int second : {7, 8, 9}) {
        files += save(entryOf(second));
    }

    const QVector<HistoryEntry> entries = History().entries();

    QCOMPARE(entries.size(), 3);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(described(entries.at(i)), described(entryOf(9 - i)));
        QCOMPARE(entries.at(i).file, files.at(2 - i));
    }
}

void HistoryTest::sortsBehindAllOthersWhateverTheClock_data()
{
    addTextRows(R"(
20261121T040505678-1.json                              => 20261121T040506678
20261121T040506677-1.json                              => 20261121T040506678
20261121T040506678-1.json                              => 20261121T040506679
20261121T040506678-999999999.json                      => 20261121T040506679
20271231T235959999-1.json                              => 20280101T000000000
20991231T000000000-1.json 20260101T000000000-1.json    => 20991231T000000001
20991331T000000000-1.json 20260101T000000000-1.json    => 20261121T040506678
20991231T990000000-1.json 20991231T00000000-1.json     => 20261121T040506678
x20991231T000000000-1.json 20991231T000000000-1.jsonx  => 20261121T040506678
20991231T000000000.json .20991231T000000000-1.json     => 20261121T040506678
)");
}

void HistoryTest::sortsBehindAllOthersWhateverTheClock()
{
    QFETCH(QString, input);
    QFETCH(QString, result);
    for (const QString &name : input.split(QLatin1Char(' '))) {
        writeContent(kept(name), {});
    }

    const QString file = save(entryOf(6));

    QCOMPARE(file, kept(result) + QStringLiteral("-%1.json").arg(QCoreApplication::applicationPid()));
    // as it was, not as it is sorted
    QCOMPARE(described(History().entries().constFirst()), described(entryOf(6)));
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

void HistoryTest::keepsWhatWasJustSaved()
{
    // from a time when the clock was ahead
    for (int i = 100; i < 210; ++i) {
        writeContent(kept(QStringLiteral("20991231T000000%1-1.json").arg(i)), {});
    }

    const QString file = save(entryOf(6));

    const QVector<HistoryEntry> entries = History().entries();
    QCOMPARE(entries.size(), 100);
    QCOMPARE(entries.first().file, file);
    QCOMPARE(described(entries.first()), described(entryOf(6)));
    QCOMPARE(entries.last().file, kept(QStringLiteral("20991231T000000111-1.json")));
}

void HistoryTest::leavesOtherFilesAlone()
{
    const QStringList others = QStringLiteral("a.json 1.json 20260101T000000000-1.json.bak 20261301T000000000-1.json "
                                              "20260101T000000000.json notes.txt")
                                   .split(QLatin1Char(' '));
    for (const QString &name : others) {
        writeContent(kept(name), "{}");
    }
    const QString linked = kept(QStringLiteral("20260101T000000000-1.json"));
    QVERIFY(QFile::link(kept(others.first()), linked));
    for (int i = 0; i < 103; ++i) {
        HistoryEntry entry = entryOf(0);
        entry.command = QString::number(i);
        save(entry);
    }

    QCOMPARE(commandsKept().size(), 100);
    QCOMPARE(commandsKept().last(), QStringLiteral("3"));
    for (const QString &name : others) {
        QCOMPARE(contentOf(kept(name)), QByteArray("{}"));
    }
    QVERIFY(QFileInfo(linked).isSymLink());
}

void HistoryTest::understandsEntryWithoutWhatWasWanted()
{
    writeContent(kept(QStringLiteral("20260101T000000000-1.json")),
                 R"({"of": "expiration", "time": "2026-11-21T04:05:06.678Z", "command": "set something 6",
                     "before": {"maxInterval": 6}})");
    HistoryEntry entry = entryOf(6);
    entry.wanted.reset();

    QCOMPARE(described(History().entries().constFirst()), described(entry));
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
{"command": "x", "time": "2026-11-21T04:05:06.678Z", "of": "lockout", "before": {"deny": 3}, "wanted": {"x": 1}}
{"command": "x", "time": "2026-11-21T04:05:06.678Z", "of": "lockout", "before": {"deny": 3}, "wanted": null}
)");
    for (const QString &text : texts) {
        QTest::newRow(qPrintable(text)) << text.toUtf8();
    }
}

void HistoryTest::listsWhatCannotBeUnderstood()
{
    QFETCH(QByteArray, text);
    const QString file = kept(QStringLiteral("20260101T000000000-1.json"));
    writeContent(file, text);

    const QVector<HistoryEntry> entries = History().entries();

    QCOMPARE(entries.size(), 1);
    QCOMPARE(entries.first().file, file);
    QVERIFY(!entries.first().store);
    QVERIFY(!entries.first().wanted);
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
                       "yours\n/dev/null/accountpolicyctl: Not a directory"));
    QCOMPARE(file, QString());
}

void HistoryTest::refusesFolderBehindLink()
{
    const QString folder = m_state + QLatin1String("/accountpolicyctl");
    const QString target = m_folder->filePath(QStringLiteral("target"));
    const QString name = QStringLiteral("/20260101T000000000-1.json");
    writeContent(target + name, "{}");
    QDir().mkpath(m_state);
    QVERIFY(QFile::link(target, folder));
    const QString reason = folder + QLatin1String(" is a link, which is not followed");
    QString file;

    QCOMPARE(History().refusal(), reason);
    QCOMPARE(commandsKept(), QStringList());
    QCOMPARE(History().save(entryOf(6), &file).error.section(QLatin1Char('\n'), 1), reason);
    History().remove(folder + name);
    QCOMPARE(QDir(target).entryList(QDir::Files), QStringList(name.mid(1)));
}

void HistoryTest::understandsWhatItKeeps_data()
{
    // values that may not be set, too; the shadow database's numbers have 64 bits
    addTextRows(R"(
user alice: maxInterval => 60
user alice: maxInterval => 4294967296
user alice: expireDate => 3000000
user alice: expireDate => -800000
lockout: deny => -1
lockout: deny => 65536
complexity: minlen => 4
complexity: dcredit => -2147483648
expiration: maxInterval => -2
expiration: inactiveInterval => -7
expiration: expireDate => -365
)");
}

void HistoryTest::understandsWhatItKeeps()
{
    QFETCH(QString, input);
    QFETCH(QString, result);
    const QString store = input.section(QStringLiteral(": "), 0, 0);
    const QString key = input.section(QStringLiteral(": "), 1);
    const Settings before = normalized(*schemaOf(StoreName::fromText(store)), {{key, result.toLongLong()}});
    QCOMPARE(before.value(key).toString(), result);

    QVERIFY(!save(entryOf(6, store, before)).isEmpty());

    QCOMPARE(described(History().entries().constFirst()), described(entryOf(6, store, before)));
}

QTEST_GUILESS_MAIN(HistoryTest)
#include "HistoryTest.moc"
