// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_POLICY_MACHINE_H
#define HNIPC_TESTS_POLICY_MACHINE_H

#include "support/process.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <sys/types.h>

// Changes the view that this process and its children have of the machine: the users and groups are
// those of the test, and /run is empty. All files that the test writes are there, and are removed
// with the last of these processes.
namespace Machine {

struct User
{
    QByteArray name;
    uid_t uid;
    gid_t gid;
    QList<gid_t> groups; // besides the first
};

struct Group
{
    const char *name;
    gid_t gid;
};

const char directory[] = "/run/hnipc-test";

// Returns false and the reason if this process is not allowed to do so.
bool make(const QList<User> &users, const QList<Group> &groups, QByteArray *reason);

// Copies the file to a place where every user can read and run it.
QString publish(const QString &file, const QString &subdirectory);
QString write(const QString &name, const QByteArray &text);

// Starts a program that was published in "bin", as this user, with the bus at this address.
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
