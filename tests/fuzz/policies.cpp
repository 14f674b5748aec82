// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// The readers and rewriters of the three policies, on any file and with any arguments.

#include "engine/LineRewriting.h"
#include "engine/LineWalk.h"
#include "policies/complexity/LocalPolicyPasswordComplexityReadTask.h"
#include "policies/complexity/LocalPolicyPasswordComplexityUpdateTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationReadTask.h"
#include "policies/expiration/LocalPolicyPasswordExpirationUpdateTask.h"
#include "policies/lockout/LocalPolicyLockoutReadTask.h"
#include "policies/lockout/LocalPolicyLockoutUpdateTask.h"
#include "tests/fuzz/Fuzzing.h"

#include <QBuffer>
#include <QRegularExpression>

namespace
{
void walk(const QByteArray &content, const RegExpHandler &handler, const LineVisitor &visit)
{
    QBuffer file;
    file.setData(content);
    file.open(QIODevice::ReadOnly);
    walkLines(&file, handler, visit);
}

template<typename Handler>
QVariantMap readThrough(const QByteArray &content)
{
    QVariantMap values;
    Handler handler(&values);
    walk(content, handler, [&handler](const QByteArray &line, bool matched) {
        QByteArray buffer = line;
        if (matched) {
            handler.handleLine(&buffer);
        }
    });
    return values;
}

template<typename Handler>
QByteArray rewrittenThrough(const QByteArray &content, const QVariantMap &arguments)
{
    Handler handler(&arguments);
    QBuffer source;
    source.setData(content);
    source.open(QIODevice::ReadOnly);
    QBuffer destination;
    destination.open(QIODevice::WriteOnly);
    rewriteLines(&source, &destination, &handler);
    return destination.data();
}

/// What the walk finds of the file: all lines, and those in which the handler finds nothing.
struct Lines {
    QByteArrayList all;
    QByteArrayList unclaimed;
};

template<typename Handler>
Lines linesOf(const QByteArray &content, const QVariantMap &arguments)
{
    Lines lines;
    walk(content, Handler(&arguments), [&lines](const QByteArray &line, bool matched) {
        lines.all += line;
        if (!matched) {
            lines.unclaimed += line;
        }
    });
    return lines;
}

bool isInOrderIn(const QByteArrayList &lines, const QByteArray &content)
{
    int place = 0;
    for (const QByteArray &line : lines) {
        place = content.indexOf(line, place);
        if (place < 0) {
            return false;
        }
        place += line.size();
    }
    return true;
}

/// The last line has its end, so that nothing that is added can join it.
bool endsItsLines(const QByteArray &content)
{
    return content.isEmpty() || content.endsWith('\n');
}

template<typename Reader, typename Rewriter>
void check(const QByteArray &content, const QVariantMap &anything, const QVariantMap &arguments)
{
    readThrough<Reader>(content);
    for (const QVariantMap &map : {anything, arguments}) {
        const Lines lines = linesOf<Rewriter>(content, map);
        require(lines.all.join() == content, "the walk loses nothing", content);
        const QByteArray once = rewrittenThrough<Rewriter>(content, map);
        require(isInOrderIn(lines.unclaimed, once), "unclaimed lines keep their bytes", once);
        if (endsItsLines(content)) {
            QByteArray twice = rewrittenThrough<Rewriter>(once, map);
            if (!endsItsLines(once)) {
                twice.chop(1); // a date that was added has no line end, one that was found has
            }
            require(twice == once, "rewriting again changes nothing", once + "\n---\n" + twice);
        }
    }
}

/// The options of a line that no policy manages, in order, with whatever stands before them.
QStringList unmanagedWords(const QByteArray &line, const QStringList &managed)
{
    const QByteArray text = line.left(static_cast<int>(qstrnlen(line.constData(), static_cast<uint>(line.size()))));
    QStringList unmanaged;
    const QString options = QString::fromLocal8Bit(text.split('#').constFirst()).simplified();
    for (const QString &word : options.split(QLatin1Char(' '))) {
        QString name = word;
        name.remove(QRegularExpression(QStringLiteral("^=+")))
            .remove(QRegularExpression(QStringLiteral("=.*"), QRegularExpression::DotMatchesEverythingOption));
        if (!word.isEmpty() && !managed.contains(name)) {
            unmanaged += word;
        }
    }
    return unmanaged;
}

/// Each line of the module, by itself: whatever else stands on it is there afterwards.
template<typename Rewriter>
void checkUnmanagedOptions(const QByteArray &content, const QVariantMap &arguments, const QStringList &managed)
{
    const Lines lines = linesOf<Rewriter>(content, arguments);
    for (const QByteArray &line : lines.all) {
        // text that is glued to the module's name goes with the options behind it
        if (lines.unclaimed.contains(line)
            || QRegularExpression(QStringLiteral("\\.so[^\\s#]")).match(QString::fromLatin1(line)).hasMatch()) {
            continue;
        }
        const QByteArray once = rewrittenThrough<Rewriter>(line, arguments);
        require(unmanagedWords(once, managed) == unmanagedWords(line, managed), "unmanaged options stay", line + once);
    }
}

/// A file whose only line of the module was written from these arguments, and any file.
template<typename Read, typename Update>
void checkPam(const PamWords &words, const QByteArray &module, int smallest, FuzzInput *input)
{
    using Reader = typename Read::LoginReaderRegExpHandler;
    using Rewriter = typename Update::LoginRewriterRegExpHandler;
    const QVariantMap arguments = input->takeFittingMap(words.flags, words.numbers, smallest);
    const QVariantMap anything = input->takeMap(words.options());
    const QByteArray content = input->rest();

    const QByteArray written = rewrittenThrough<Rewriter>("auth required " + module + " retry=3 x\n", arguments);
    require(readThrough<Reader>(written) == arguments, "what was written is read", written);
    require(rewrittenThrough<Rewriter>(written, arguments) == written, "writing again changes nothing", written);
    require(written.startsWith("auth required " + module + " retry=3 x"), "unmanaged options stay", written);
    check<Reader, Rewriter>(content, anything, arguments);
    checkUnmanagedOptions<Rewriter>(content, anything, words.options());
}

/// A file that was written from these arguments, and any file.
template<typename Reader, typename Rewriter>
void checkSettings(const QByteArray &before, const QVariantMap &arguments, const QStringList &keys, FuzzInput *input)
{
    const QVariantMap anything = input->takeMap(keys);
    const QByteArray written = rewrittenThrough<Rewriter>(before, arguments);
    require(readThrough<Reader>(written) == arguments, "what was written is read", written);
    check<Reader, Rewriter>(input->rest(), anything, arguments);
}
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size)
{
    using Read = LocalPolicyPasswordExpirationReadTask;
    using Update = LocalPolicyPasswordExpirationUpdateTask;
    constexpr int smallest = std::numeric_limits<int>::min();
    FuzzInput input(data, size);
    const uint8_t policy = input.takeByte();
    switch (policy % 4) {
    case 0:
        checkPam<LocalPolicyLockoutReadTask, LocalPolicyLockoutUpdateTask>(lockoutWords, "pam_tally.so", 0, &input);
        break;
    case 1:
        checkPam<LocalPolicyPasswordComplexityReadTask, LocalPolicyPasswordComplexityUpdateTask>(
            complexityWords, policy & 4 ? "pam_cracklib.so" : "pam_pwquality.so", smallest, &input);
        break;
    case 2: {
        const QStringList keys = wordsOf("maxInterval minInterval warningInterval");
        const QVariantMap arguments = input.takeFittingMap({}, keys, smallest);
        checkSettings<Read::LoginReaderRegExpHandler, Update::LoginRewriterRegExpHandler>(
            "UMASK 022\nPASS_MAX_DAYS 1\n", arguments, keys, &input);
        break;
    }
    default: {
        QVariantMap arguments = input.takeFittingMap({}, wordsOf("inactiveInterval"), smallest);
        arguments.insert(QStringLiteral("expireDate"), qAbs(input.takeNumber()) % 2932897);
        checkSettings<Read::UseraddReaderRegExpHandler, Update::UseraddRewriterRegExpHandler>(
            "SHELL=/bin/sh\nINACTIVE=3\n", arguments, wordsOf("inactiveInterval expireDate"), &input);
    }
    }
    return 0;
}
