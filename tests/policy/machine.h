// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_POLICY_MACHINE_H
#define HNIPC_TESTS_POLICY_MACHINE_H

#include "support/process.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <sys/types.h>

// What the machine looks like to this process and its children, and to nobody else: its users and
// groups are those of the test, and /run is empty. All that the test writes is there, and goes with
// the last of them.
namespace Machine {

struct User
{
    const char *name;
    uid_t uid;
    gid_t gid;
    QList<gid_t> groups; // beside the first
};

struct Group
{
    const char *name;
    gid_t gid;
};

const char directory[] = "/run/hnipc-test";

// False, with the reason, where this process may not do so.
bool make(const QList<User> &users, const QList<Group> &groups, QByteArray *reason);

// The file, where every user can read and run it.
QString publish(const QString &file, const QString &subdirectory);
QString write(const QString &name, const QByteArray &text);

// One of those that are published in "bin", as run by this user on the bus at this address.
void start(Process *process, const User &user, const QByteArray &address, const char *program,
           const QStringList &arguments = QStringList());
QString program(const char *name);

// A bus of type system.
class Bus
{
public:
    enum Kind { DBusDaemon, DBusBroker };

    static bool isThere(Kind kind);

    Bus(Kind kind, const QByteArray &configuration);
    ~Bus();

    QByteArray address() const { return m_address; }
    static QByteArray log(); // of all buses

private:
    Q_DISABLE_COPY(Bus)

    QByteArray m_address;
    pid_t m_pid;
};

} // namespace Machine

#endif
