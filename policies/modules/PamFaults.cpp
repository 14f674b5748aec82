// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#include "policies/modules/PamFaults.h"

#include "policies/modules/ModuleReading.h"
#include "policies/modules/PamStack.h"
#include "policies/modules/PrimaryBlock.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMap>
#include <QSet>

#include <algorithm>
#include <iterator>
#include <optional>

namespace
{
constexpr int deepestInclusion = 32;

/// What is done about a module's verdict: a word, or a number of lines to jump over.
using PamActions = QMap<QString, QString>;

/// A line that calls a module, or a stack inside of the stack.
struct PamNode {
    PamStackLine line;
    PamActions actions;
    QVector<PamNode> substack = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
    bool isSubstack = false;
    /// The file that it stands in.
    QString path = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
    /// The file that begins with it and is included there, if any: the one that includes all others such.
    QString begun = {}; // NOLINT(readability-redundant-member-init): else it may not be left out
};

using PamNodes = QVector<PamNode>;

/// The state between two modules.
enum class Impression { None, Good, Bad };
using Impressions = QSet<int>;

QString fromRequired(const QString &defaultAction)
{
    return QStringLiteral("success=ok new_authtok_reqd=ok ignore=ignore default=") + defaultAction;
}

/// A control in words, as the brackets that it stands for; null if there is none such.
QString bracketsOf(const QString &word)
{
    static const QMap<QString, QString> brackets{
        {QStringLiteral("required"), fromRequired(QStringLiteral("bad"))},
        {QStringLiteral("requisite"), fromRequired(QStringLiteral("die"))},
        {QStringLiteral("optional"), QStringLiteral("success=ok new_authtok_reqd=ok default=ignore")},
        {QStringLiteral("sufficient"), QStringLiteral("success=done new_authtok_reqd=done default=ignore")},
    };
    return brackets.value(word.toLower());
}

bool isVerdict(const QString &name)
{
    static const QSet<QString> verdicts = [] {
        const QString names = QStringLiteral(
            "success open_err symbol_err service_err system_err buf_err perm_denied auth_err cred_insufficient "
            "authinfo_unavail user_unknown maxtries new_authtok_reqd acct_expired session_err cred_unavail "
            "cred_expired "
            "cred_err no_module_data conv_err authtok_err authtok_recover_err authtok_lock_busy authtok_disable_aging "
            "try_again ignore abort authtok_expired module_unknown bad_item conv_again incomplete default");
        const QStringList list = names.split(QLatin1Char(' '));
        return QSet<QString>(list.begin(), list.end());
    }();
    return verdicts.contains(name);
}

/// How far an action jumps; 0 for one that doesn't.
int jumpOf(const QString &action)
{
    return action.toInt();
}

const char *const types[] = {"auth", "account", "password", "session"};

bool isType(const QString &name)
{
    return std::any_of(std::begin(types), std::end(types), [&name](const char *type) {
        return name == QLatin1String(type);
    });
}

bool isAction(const QString &action)
{
    static const QSet<QString> words{QStringLiteral("ignore"),
                                     QStringLiteral("ok"),
                                     QStringLiteral("done"),
                                     QStringLiteral("bad"),
                                     QStringLiteral("die"),
                                     QStringLiteral("reset")};
    return words.contains(action) || jumpOf(action) > 0;
}

/// None if one of them isn't known.
PamActions actionsIn(const QString &brackets)
{
    PamActions actions;
    const auto pairs = brackets.simplified().split(QLatin1Char(' '));
    for (const QString &pair : pairs) {
        const QString verdict = pair.section(QLatin1Char('='), 0, 0).toLower();
        const QString action = pair.section(QLatin1Char('='), 1).toLower();
        if (!isVerdict(verdict) || !isAction(action)) {
            return {};
        }
        actions.insert(verdict, action);
    }
    return actions;
}

/// The path of a file that is included; those of packages' folder can't be.
QString inclusionPath(const QString &file)
{
    return file.startsWith(QLatin1Char('/')) ? file : pamFolders().constFirst() + QLatin1Char('/') + file;
}

bool isInstalled(const QString &module)
{
    if (module.startsWith(QLatin1Char('/'))) {
        return QFile::exists(module);
    }
    const QString suffix = QStringLiteral(".so");
    return module.endsWith(suffix) && !pamModulePath(module.chopped(suffix.size())).isEmpty();
}

QString nameOf(const PamStackLine &line)
{
    return line.module.section(QLatin1Char('/'), -1);
}

/// What stacks are made of; looked at once, however many include a file, call a module or have a control.
class StackSources
{
public:
    explicit StackSources(QString root) : m_root(std::move(root))
    {
    }

    QString pathOf(const QString &service) const
    {
        return pamServicePath(m_root, service);
    }

    /// None if the file can't be read.
    std::optional<QVector<PamStackLine>> linesOf(const QString &path)
    {
        auto known = m_lines.find(path);
        if (known == m_lines.end()) {
            QFile stack(m_root + path);
            const bool isThere = stack.open(QIODevice::ReadOnly);
            const QByteArray content = isThere ? stack.readAll() : QByteArray();
            m_tools.insert(path, PrimaryBlock(content).begin);
            known = m_lines.insert(path, isThere ? std::make_optional(pamStackLines(content)) : std::nullopt);
        }
        return *known;
    }

    /// Whether a line of a file that was read is one that pam-auth-update(8) numbers anew.
    bool isOfTool(const PamNode &node) const
    {
        const int begin = m_tools.value(node.path);
        return begin > 0 && node.line.number > begin;
    }

    bool hasModule(const QString &module)
    {
        auto known = m_modules.find(module);
        if (known == m_modules.end()) {
            known = m_modules.insert(module, isInstalled(module));
        }
        return *known;
    }

    /// None if the control isn't known.
    PamActions actionsOf(const PamStackLine &line)
    {
        const QString brackets = line.isBracketed ? line.control : bracketsOf(line.control);
        auto known = m_actions.find(brackets);
        if (known == m_actions.end()) {
            known = m_actions.insert(brackets, actionsIn(brackets));
        }
        return *known;
    }

private:
    QString m_root;
    QHash<QString, std::optional<QVector<PamStackLine>>> m_lines;
    /// Behind which line of a file those of pam-auth-update(8) stand; 0 if there are none.
    QHash<QString, int> m_tools;
    QHash<QString, bool> m_modules;
    QHash<QString, PamActions> m_actions;
};

/// One type of a service: reads it, and notes what is wrong with it.
class TypeOfService
{
    Q_DECLARE_TR_FUNCTIONS(PamFaults)

public:
    TypeOfService(StackSources *sources, const QString &service, const QString &type)
        : m_sources(sources), m_type(type), m_start(service + QLatin1String(": ") + type + QLatin1String(": "))
    {
        m_nodes = nodesIn(service, 0);
        checkJumps(m_nodes);
    }

    QStringList faults()
    {
        if (!m_nodes.isEmpty() && !endsOf(m_nodes, {int(Impression::None)}).contains(int(Impression::Good))) {
            note(tr("nothing can succeed"));
        }
        return m_faults;
    }

    QStringList jumps() const
    {
        return jumpsIn(m_nodes);
    }

    FaillockEffect faillockEffect()
    {
        FaillockEffect effect;
        m_login = Login::Wrong;
        endsOf(m_nodes, {int(Impression::None)});
        effect.counts = m_hasCounted;
        m_login = Login::Locked;
        effect.keepsOut = !endsOf(m_nodes, {int(Impression::None)}).contains(int(Impression::Good));
        return effect;
    }

private:
    /// What the modules are asked about.
    enum class Login {
        Any,
        /// With a wrong password.
        Wrong,
        /// With the right one, to an account with too many failures.
        Locked,
    };

    void note(const QString &fault)
    {
        if (!m_faults.contains(m_start + fault)) {
            m_faults += m_start + fault;
        }
    }

    PamNodes nodesIn(const QString &file, int depth)
    {
        const QString path = depth == 0 ? m_sources->pathOf(file) : inclusionPath(file);
        const auto lines = depth > deepestInclusion ? std::nullopt : m_sources->linesOf(path);
        if (!lines) {
            note(tr("%1 cannot be included").arg(file));
            return {};
        }
        PamNodes nodes;
        for (const PamStackLine &line : *lines) {
            if (line.type == QLatin1String("@include")) {
                nodes += included(line.module, depth);
            } else if (line.type == m_type) {
                nodes += nodesOf(line, depth);
            } else if (!isType(line.type) && m_type == QLatin1String("auth")) {
                // libpam takes it for one of this type that fails; its control says what follows
                note(tr("\"%1\" is no type").arg(line.type));
                nodes += PamNode{line, m_sources->actionsOf(line)};
            }
            if (!nodes.isEmpty() && nodes.constLast().path.isEmpty()) {
                nodes.last().path = path;
            }
        }
        return nodes;
    }

    PamNodes included(const QString &file, int depth)
    {
        PamNodes nodes = nodesIn(file, depth + 1);
        if (!nodes.isEmpty()) {
            nodes.first().begun = file;
        }
        return nodes;
    }

    PamNodes nodesOf(const PamStackLine &line, int depth)
    {
        const QString control = line.isBracketed ? QString() : line.control.toLower();
        if (control == QLatin1String("include")) {
            return included(line.module, depth);
        }
        if (control == QLatin1String("substack")) {
            return {{line, {}, nodesIn(line.module, depth + 1), true}};
        }
        const PamActions actions = m_sources->actionsOf(line);
        if (actions.isEmpty()) {
            note(tr("%1 has the control \"%2\", which does not exist").arg(nameOf(line), line.control));
        }
        if (!line.mayBeMissing && !m_sources->hasModule(line.module)) {
            note(tr("%1 is not installed").arg(nameOf(line)));
        }
        return {{line, actions}};
    }

    void checkJumps(const PamNodes &nodes)
    {
        for (int i = 0; i < nodes.size(); ++i) {
            checkJumps(nodes.at(i).substack);
            for (const QString &action : nodes.at(i).actions) {
                if (i + 1 + jumpOf(action) > nodes.size()) { // at the end there is nothing left to do
                    note(tr("%1 jumps out of its stack").arg(nameOf(nodes.at(i).line)));
                }
            }
        }
    }

    QStringList jumpsIn(const PamNodes &nodes) const
    {
        QStringList found;
        for (int i = 0; i < nodes.size(); ++i) {
            const PamNode &node = nodes.at(i);
            found += jumpsIn(node.substack);
            for (const QString &action : node.actions) {
                if (jumpOf(action) > 0 && !m_sources->isOfTool(node)) {
                    const QString place = placeText(nodes, i + 1 + jumpOf(action));
                    found += m_start + tr("%1:%2 jumps to %3").arg(node.path).arg(node.line.number).arg(place);
                }
            }
        }
        return found;
    }

    /// The same as long as the line is, whatever else comes before it.
    static QString placeText(const PamNodes &nodes, int place)
    {
        if (place >= nodes.size()) {
            return tr("the end");
        }
        const PamNode &node = nodes.at(place);
        if (!node.begun.isEmpty()) {
            return tr("the beginning of %1").arg(node.begun);
        }
        const auto isSame = [&node](const PamNode &other) {
            return other.path == node.path && other.line.module == node.line.module;
        };
        const int calls = int(std::count_if(nodes.begin(), nodes.begin() + place, isSame));
        const QString name = nameOf(node.line) + (calls > 0 ? QStringLiteral(" (%1)").arg(calls + 1) : QString());
        return tr("%1 in %2").arg(name, node.path);
    }

    /// What pam_deny says; and what is said of a failure of no other name.
    QString failure() const
    {
        static const QMap<QString, QString> failures{{QStringLiteral("password"), QStringLiteral("authtok_err")},
                                                     {QStringLiteral("session"), QStringLiteral("session_err")}};
        return failures.value(m_type, QStringLiteral("auth_err"));
    }

    static bool countsFailure(const PamNode &node)
    {
        return node.line.calls(QStringLiteral("pam_faillock")) && node.line.options.contains(QLatin1String("authfail"));
    }

    /// All that a module may say that is treated in different ways.
    QStringList verdictsOf(const PamNode &node) const
    {
        const QString success = QStringLiteral("success");
        if (!isType(node.line.type)) {
            return {QStringLiteral("abort")};
        }
        if (!m_sources->hasModule(node.line.module)) {
            return {QStringLiteral("module_unknown")};
        }
        if (countsFailure(node) || node.line.calls(QStringLiteral("pam_deny"))) {
            return {failure()};
        }
        if (m_login == Login::Locked && node.line.calls(QStringLiteral("pam_faillock"))) {
            return {failure()};
        }
        if (m_login != Login::Any && node.line.calls(QStringLiteral("pam_unix"))) {
            return {m_login == Login::Wrong ? failure() : success};
        }
        if (node.line.calls(QStringLiteral("pam_permit"))) {
            return {success};
        }
        const QStringList all = QStringList{success, failure(), QStringLiteral("default")} + node.actions.keys();
        return m_login == Login::Locked ? thoseInPassing(node, all) : all;
    }

    /// Those after which the next line comes: exceptions for some, and other ways to log in, are the administrator's business.
    static QStringList thoseInPassing(const PamNode &node, const QStringList &all)
    {
        QStringList passing;
        std::copy_if(all.begin(), all.end(), std::back_inserter(passing), [&node](const QString &verdict) {
            const QString action = actionOn(verdict, node);
            return action == QLatin1String("ignore") || action == QLatin1String("ok");
        });
        return passing.isEmpty() ? all : passing;
    }

    static QString actionOn(const QString &verdict, const PamNode &node)
    {
        // what isn't said is bad
        return node.actions.value(verdict, node.actions.value(QStringLiteral("default"), QStringLiteral("bad")));
    }

    static bool isSuccess(const QString &verdict)
    {
        return verdict == QLatin1String("success") || verdict == QLatin1String("new_authtok_reqd");
    }

    /// All impressions that a stack can leave, begun with one of these.
    Impressions endsOf(const PamNodes &nodes, const Impressions &start)
    {
        QVector<Impressions> at(nodes.size() + 1);
        at[0] = start;
        for (int i = 0; i < nodes.size(); ++i) {
            if (nodes.at(i).isSubstack) {
                at[i + 1] += endsOf(nodes.at(i).substack, at.at(i));
                continue;
            }
            m_hasCounted = m_hasCounted || (countsFailure(nodes.at(i)) && !at.at(i).isEmpty());
            const QStringList verdicts = verdictsOf(nodes.at(i));
            for (const QString &verdict : verdicts) {
                go(verdict, actionOn(verdict, nodes.at(i)), i, start, &at);
            }
        }
        return at.constLast();
    }

    /// Takes one verdict's way on from the node.
    static void
    go(const QString &verdict, const QString &action, int node, const Impressions &start, QVector<Impressions> *at)
    {
        const int end = int(at->size()) - 1;
        const Impressions before = at->at(node);
        for (const int impression : before) {
            const bool isBad = impression == int(Impression::Bad);
            const int praised = isBad || !isSuccess(verdict) ? int(Impression::Bad) : int(Impression::Good);
            if (jumpOf(action) > 0) {
                const int place = node + 1 + jumpOf(action);
                (*at)[qMin(place, end)] += place <= end ? impression : int(Impression::Bad);
            } else if (action == QLatin1String("ignore")) {
                (*at)[node + 1] += impression;
            } else if (action == QLatin1String("ok")) {
                (*at)[node + 1] += praised;
            } else if (action == QLatin1String("done")) {
                (*at)[isBad ? node + 1 : end] += praised;
            } else if (action == QLatin1String("reset")) {
                (*at)[node + 1] += start;
            } else {
                (*at)[action == QLatin1String("die") ? end : node + 1] += int(Impression::Bad);
            }
        }
    }

    StackSources *m_sources;
    QString m_type;
    QString m_start;
    PamNodes m_nodes;
    QStringList m_faults;
    Login m_login = Login::Any;
    /// Whether a way has led to a line that counts a failure.
    bool m_hasCounted = false;
};

QStringList faultsOf(const QString &service, StackSources *sources)
{
    QStringList faults;
    for (const char *type : types) {
        faults += TypeOfService(sources, service, QLatin1String(type)).faults();
    }
    return faults;
}
}

QStringList pamServiceFaults(const QString &root, const QString &service)
{
    StackSources sources(root);
    return faultsOf(service, &sources);
}

QStringList pamFaults(const QString &root)
{
    StackSources sources(root);
    QStringList faults;
    const auto services = pamServices(root);
    for (const QString &service : services) {
        faults += faultsOf(service, &sources);
    }
    return faults;
}

QStringList pamJumps(const QString &root)
{
    StackSources sources(root);
    QStringList jumps;
    const auto services = pamServices(root);
    for (const QString &service : services) {
        for (const char *type : types) {
            jumps += TypeOfService(&sources, service, QLatin1String(type)).jumps();
        }
    }
    return jumps;
}

FaillockEffect faillockEffect(const QString &root, const QString &service)
{
    StackSources sources(root);
    return TypeOfService(&sources, service, QStringLiteral("auth")).faillockEffect();
}
