// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The readings and rewritings of the modules' made-up files, judged by the modules themselves and by Augeas. By hand, for
// more files or other ones: scripts/sandbox -- build/dev/tests/ModuleReadingTest --seed 7 --files 10000

#include "policies/modules/ModuleReading.h"
#include "policies/modules/ModuleFile.h"
#include "policies/modules/PamStack.h"
#include "tests/differential/ModuleGenerator.h"
#include "tests/differential/SecondReadings.h"
#include "tests/support/Files.h"
#include "tests/support/Program.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace
{
constexpr int shownProblems = 5;

/// A question to modules.py.
QJsonObject
questionTo(const QString &reader, const QByteArray &content, const QStringList &options, const QJsonObject &values)
{
    return {{QStringLiteral("reader"), reader},
            {QStringLiteral("content"), QString::fromLatin1(content.toBase64())},
            {QStringLiteral("options"), QJsonArray::fromStringList(options)},
            {QStringLiteral("values"), values}};
}

/// What is wrong with each reading, a line for each question.
QByteArrayList answersTo(const QVector<QJsonObject> &questions)
{
    QByteArray input;
    for (const QJsonObject &question : questions) {
        input += QJsonDocument(question).toJson(QJsonDocument::Compact) + '\n';
    }
    // the modules measure in seconds, and the clock stands still for them
    const QStringList command{QStringLiteral("-f"),
                              QStringLiteral("2026-01-01 00:00:00"),
                              QStringLiteral("python3"),
                              QStringLiteral(SOURCES "/tests/differential/modules.py")};
    const ProgramResult result = runAs(root, QStringLiteral("faketime"), command, input);
    QByteArrayList answers = result.standardOutput.split('\n');
    answers.removeLast();
    if (result.exitCode != 0 || answers.size() != questions.size()) {
        qFatal("modules.py: %s", result.standardError.constData());
    }
    return answers;
}

QJsonObject jsonOf(const ModulePolicy &policy, const QVariantMap &values)
{
    return QJsonObject::fromVariantMap(setValues(policy, values));
}

/// As the values stand in a file, and the names that there are.
QJsonObject textsOf(const ModulePolicy &policy, const QVariantMap &values)
{
    QJsonObject texts;
    QJsonArray known;
    for (const ModuleSetting &setting : policy.settings) {
        known += setting.name;
        const QVariant value = values.value(setting.name);
        if (value.isValid()) {
            const bool isSwitch = setting.kind == ModuleSetting::Kind::Switch;
            texts.insert(setting.name,
                         setting.kind == ModuleSetting::Kind::Flag ? QString()
                             : isSwitch                            ? QString::number(int(value.toBool()))
                                                                   : value.toString());
        }
    }
    return {{QStringLiteral("texts"), texts},
            {QStringLiteral("known"), known},
            {QStringLiteral("first"), policy.takesFirstLine}};
}

/// A row for each policy whose module reads its file.
void addPoliciesWithFiles()
{
    QTest::addColumn<QString>("policy");
    for (const ModulePolicy *policy : modulePolicies()) {
        if (moduleReadsFile(*policy)) {
            QTest::newRow(qPrintable(policy->name)) << policy->name;
        }
    }
}
}

class ModuleReadingTest : public QObject
{
    Q_OBJECT

public:
    explicit ModuleReadingTest(const Extent &extent) : m_extent(extent), m_generator(extent.seed)
    {
    }

private Q_SLOTS:
    void initTestCase();

    void readsFilesAsModulesDo_data();
    void readsFilesAsModulesDo();
    void writesFilesAsModulesReadThem_data();
    void writesFilesAsModulesReadThem();
    void readsOptionsAsModulesDo_data();
    void readsOptionsAsModulesDo();
    void readsPlainFilesAsLensDoes_data();
    void readsPlainFilesAsLensDoes();
    void readsStacksAsLensDoes();

private:
    void compare(const QVector<QJsonObject> &questions);

    Extent m_extent;
    ModuleGenerator m_generator;
};

void ModuleReadingTest::initTestCase()
{
    // faketime keeps its state there by numbers of processes, which other sandboxes have too
    for (const char *command : {"mount -t tmpfs tmpfs /dev/shm",
                                "groupadd chiefs",
                                "useradd secondreader",
                                "useradd --groups chiefs secondchief",
                                "mkdir -p /run/failures/more"}) {
        QCOMPARE(runAs(root, command).exitCode, 0);
    }
}

void ModuleReadingTest::compare(const QVector<QJsonObject> &questions)
{
    const QByteArrayList answers = answersTo(questions);
    QSet<QByteArray> readings;
    int problems = 0;
    for (int i = 0; i < questions.size(); ++i) {
        const QJsonObject &question = questions.at(i);
        const QByteArray values =
            QJsonDocument(question[QLatin1String("values")].toObject()).toJson(QJsonDocument::Compact);
        readings += values;
        if (!answers.at(i).isEmpty() && ++problems <= shownProblems) {
            qWarning().nospace() << "number " << i << " of seed " << m_extent.seed << '\n'
                                 << QByteArray::fromBase64(question[QLatin1String("content")].toString().toLatin1())
                                 << ' ' << question[QLatin1String("options")].toArray()
                                 << "\nours: " << values.constData() << "\notherwise: " << answers.at(i).constData();
        }
    }
    QCOMPARE(problems, 0);
    // files that say nothing would agree on everything
    QVERIFY2(readings.size() > qMin(questions.size() / 4, 100), QByteArray::number(readings.size()).constData());
}

void ModuleReadingTest::readsFilesAsModulesDo_data()
{
    addPoliciesWithFiles();
}

void ModuleReadingTest::readsFilesAsModulesDo()
{
    QFETCH(const QString, policy);
    const ModulePolicy &asked = *modulePolicy(policy);
    QVector<QJsonObject> questions;
    for (int i = 0; i < m_extent.files; ++i) {
        const QByteArray content = m_generator.file(asked);
        QString error;
        QJsonObject values = jsonOf(asked, moduleFileValues(asked, content, &error));
        if (asked.readContent) {
            values.insert(QStringLiteral("error"), !error.isEmpty());
        }
        questions += questionTo(policy, content, {}, values);
    }
    compare(questions);
}

void ModuleReadingTest::writesFilesAsModulesReadThem_data()
{
    addPoliciesWithFiles();
}

void ModuleReadingTest::writesFilesAsModulesReadThem()
{
    QFETCH(const QString, policy);
    const ModulePolicy &asked = *modulePolicy(policy);
    QVector<QJsonObject> questions;
    while (questions.size() < m_extent.files) {
        const QVariantMap wanted = m_generator.values(asked);
        QCOMPARE(asked.faultIn(wanted), QString());
        const QByteArray written = moduleFileWith(asked, m_generator.file(asked), wanted);
        QString error;
        moduleFileValues(asked, written, &error);
        // the library reads nothing behind a line of others that it doesn't understand, and a write tells so
        if (error.isEmpty()) {
            QJsonObject values = jsonOf(asked, wanted);
            if (asked.readContent) {
                values.insert(QStringLiteral("error"), false);
            }
            questions += questionTo(policy, written, {}, values);
        }
    }
    compare(questions);
}

void ModuleReadingTest::readsOptionsAsModulesDo_data()
{
    QTest::addColumn<QString>("policy");
    QTest::newRow("faillock") << QStringLiteral("faillock");
    QTest::newRow("pwhistory") << QStringLiteral("pwhistory");
}

void ModuleReadingTest::readsOptionsAsModulesDo()
{
    QFETCH(const QString, policy);
    const ModulePolicy &asked = *modulePolicy(policy);
    QVector<QJsonObject> questions;
    for (int i = 0; i < m_extent.files; ++i) {
        const QStringList options = m_generator.options(asked);
        questions += questionTo(policy, {}, options, jsonOf(asked, moduleOptionValues(asked, options)));
    }
    compare(questions);
}

void ModuleReadingTest::readsPlainFilesAsLensDoes_data()
{
    QTest::addColumn<QString>("policy");
    for (const ModulePolicy *policy : modulePolicies()) {
        QTest::newRow(qPrintable(policy->name)) << policy->name;
    }
}

void ModuleReadingTest::readsPlainFilesAsLensDoes()
{
    QFETCH(const QString, policy);
    const ModulePolicy &asked = *modulePolicy(policy);
    QVector<QJsonObject> questions;
    for (int i = 0; i < m_extent.files; ++i) {
        const QByteArray content = m_generator.plainFile(asked);
        QString error;
        const QVariantMap values = moduleFileValues(asked, content, &error);
        QCOMPARE(error, QString());
        questions += questionTo(QStringLiteral("Properties"), content, {}, textsOf(asked, values));
        const QVariantMap wanted = m_generator.values(asked);
        questions += questionTo(QStringLiteral("Properties"),
                                moduleFileWith(asked, content, wanted),
                                {},
                                textsOf(asked, setValues(asked, wanted)));
    }
    compare(questions);
}

void ModuleReadingTest::readsStacksAsLensDoes()
{
    QVector<QJsonObject> questions;
    for (int i = 0; i < m_extent.files; ++i) {
        const QByteArray content = m_generator.stack();
        QJsonArray lines;
        for (const PamStackLine &line : pamStackLines(content)) {
            const QString control =
                line.isBracketed ? QLatin1Char('[') + line.control + QLatin1Char(']') : line.control;
            lines += QJsonArray::fromStringList(QStringList{line.type, control, line.module} + line.options);
        }
        questions += questionTo(QStringLiteral("Pam"), content, {}, {{QStringLiteral("lines"), lines}});
    }
    compare(questions);
}

int main(int argc, char **argv)
{
    return runTest<ModuleReadingTest>(argc, argv, 300);
}

#include "ModuleReadingTest.moc"
