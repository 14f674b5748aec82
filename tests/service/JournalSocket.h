// SPDX-FileCopyrightText: 2026 the Account Policies Helper authors
// SPDX-License-Identifier: LGPL-2.1-or-later

#pragma once

#include <QByteArrayList>
#include <QDir>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// Takes the place of the journal, which has a socket that messages are sent to.
class JournalSocket
{
public:
    JournalSocket()
    {
        QDir().mkpath(QStringLiteral("/run/systemd/journal"));
        sockaddr_un address = {AF_UNIX, "/run/systemd/journal/socket"};
        if (bind(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
            qFatal("no socket: %s", std::strerror(errno));
        }
    }

    ~JournalSocket()
    {
        close(m_socket);
        QFile::remove(QStringLiteral("/run/systemd/journal/socket"));
    }

    /// The fields of the next entry as they were sent, without those of the library's own; empty if there is none.
    QByteArrayList next() const
    {
        QByteArray entry(65536, Qt::Uninitialized);
        const ssize_t size = recv(m_socket, entry.data(), static_cast<size_t>(entry.size()), MSG_DONTWAIT);
        entry.truncate(static_cast<int>(qMax(size, ssize_t(0))));
        QByteArrayList fields = entry.trimmed().split('\n');
        fields.erase(std::remove_if(fields.begin(),
                                    fields.end(),
                                    [](const QByteArray &field) {
                                        return field.startsWith("CODE_") || field.startsWith("SYSLOG_");
                                    }),
                     fields.end());
        return fields;
    }

private:
    Q_DISABLE_COPY_MOVE(JournalSocket)

    int m_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};
