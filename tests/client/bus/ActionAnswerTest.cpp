// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// KAuth's own replies, read without KAuth; and bytes that are none.

#include "client/bus/ActionAnswer.h"
#include "tests/support/TypedMap.h"

#include <KAuth/ActionReply>

#include <QDataStream>
#include <QDate>
#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>

namespace
{
using Reply = KAuth::ActionReply;

const QVariantMap plainValues{
    {QStringLiteral("flag"), true},
    {QStringLiteral("number"), -5},
    {QStringLiteral("count"), 5U},
    {QStringLiteral("long"), -3000000000LL},
    {QStringLiteral("unsigned long"), 18446744073709551615ULL},
    {QStringLiteral("double"), 0.5},
    {QStringLiteral("text"), QStringLiteral("\u00e4\u20ac")},
    {QStringLiteral("empty text"), QStringLiteral("")},
    {QStringLiteral("null text"), QString()},
    {QStringLiteral("date"), QDate(2099, 12, 31)},
    {QStringLiteral("nothing"), QVariant()},
    {QString(), 1},
};

Reply with(Reply reply, const QVariantMap &data, const QString &description = QString())
{
    reply.setData(data);
    reply.setErrorDescription(description);
    return reply;
}

/// An answer whose one value is this one.
QByteArray answerWith(const QVariant &value)
{
    return with(Reply::SuccessReply(), {{QStringLiteral("key"), value}}).serialized();
}

/// A list in a list in a list, and so on: decoding it takes a call inside a call.
QByteArray deepAnswer()
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << 1 << QStringLiteral("key");
    for (int depth = 0; depth < 1000000; ++depth) {
        stream << static_cast<int>(QMetaType::QVariantList) << false << 1;
    }
    return bytes;
}

QByteArray numbers(std::initializer_list<quint32> values)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    for (const quint32 value : values) {
        stream << value;
    }
    return bytes;
}
}

class ActionAnswerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void understandsKAuth_data();
    void understandsKAuth();
    void takesNothingElse_data();
    void takesNothingElse();
    void survivesAnyByte();
};

void ActionAnswerTest::understandsKAuth_data()
{
    QTest::addColumn<Reply>("reply");
    QTest::newRow("success") << Reply::SuccessReply();
    QTest::newRow("success with data") << with(Reply::SuccessReply(), plainValues);
    QTest::newRow("no such action") << with(Reply::NoSuchActionReply(), {}, QStringLiteral("why"));
    QTest::newRow("denied") << with(Reply::AuthorizationDeniedReply(), plainValues, QStringLiteral("why"));
    QTest::newRow("cancelled") << Reply::UserCancelledReply();
    QTest::newRow("busy") << Reply::HelperBusyReply();
    QTest::newRow("error of the helper's own") << with(Reply::HelperErrorReply(-7), {}, QStringLiteral("\u00e4"));
}

void ActionAnswerTest::understandsKAuth()
{
    QFETCH(Reply, reply);

    const std::optional<ActionAnswer> answer = ActionAnswer::fromBytes(reply.serialized());

    QVERIFY(answer);
    QCOMPARE(answer->error, reply.error());
    QCOMPARE(answer->description, reply.errorDescription());
    QCOMPARE(typedEntries(answer->data), typedEntries(reply.data()));
}

void ActionAnswerTest::takesNothingElse_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray whole = with(Reply::AuthorizationDeniedReply(), plainValues, QStringLiteral("why")).serialized();
    for (int size = 0; size < whole.size(); ++size) {
        QTest::addRow("%d bytes", size) << whole.left(size);
    }
    QTest::newRow("a text") << QByteArray("org.freedesktop.DBus.Error.Failed");
    QTest::newRow("a map without end") << numbers({0xffffffff});
    QTest::newRow("a key without end") << numbers({1, 0xfffffffe});
    QTest::newRow("a text without end") << numbers({1, 0, QMetaType::QString << 8, 0xfffffffe});
    QTest::newRow("a type that is none") << numbers({1, 0, 0x7fffffff, 0, 0, 0, 0});
    QTest::newRow("a list") << answerWith(QVariantList{1});
    QTest::newRow("a map in the map") << answerWith(QVariantMap{});
    QTest::newRow("a regular expression") << answerWith(QRegularExpression(QStringLiteral("(a*)*")));
    QTest::newRow("bytes") << answerWith(QByteArray("bytes"));
    QTest::newRow("a million lists") << deepAnswer();
}

void ActionAnswerTest::takesNothingElse()
{
    QFETCH(QByteArray, bytes);
    QElapsedTimer clock;
    clock.start();

    QVERIFY(!ActionAnswer::fromBytes(bytes));

    QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
}

void ActionAnswerTest::survivesAnyByte()
{
    const QByteArray whole = with(Reply::AuthorizationDeniedReply(), plainValues, QStringLiteral("why")).serialized();
    int understood = 0;
    for (int place = 0; place < whole.size(); ++place) {
        for (int byte = 0; byte < 256; ++byte) {
            QByteArray bytes = whole;
            bytes[place] = static_cast<char>(byte);
            const std::optional<ActionAnswer> answer = ActionAnswer::fromBytes(bytes);
            understood += answer ? 1 : 0;
            // what comes of it is never more than what was sent
            QVERIFY(!answer || answer->data.size() <= plainValues.size());
        }
    }
    QVERIFY(understood > whole.size()); // each of its bytes once is the whole itself
}

QTEST_GUILESS_MAIN(ActionAnswerTest)
#include "ActionAnswerTest.moc"
