// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

// A KAuth helper whose action does nothing: what any action costs before it does anything.

#include <KAuth/ActionReply>
#include <KAuth/HelperSupport>

#include <QObject>
#include <QVariantMap>

using KAuth::ActionReply;

class EmptyHelper : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    ActionReply nothing(const QVariantMap &args);
};

ActionReply EmptyHelper::nothing(const QVariantMap &args)
{
    Q_UNUSED(args)
    return ActionReply();
}

int main(int argc, char *argv[])
{
    return KAuth::HelperSupport::helperMain(argc, argv, EMPTY_HELPER_ID, new EmptyHelper);
}

#include "emptyhelper.moc"
