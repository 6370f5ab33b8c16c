// SPDX-License-Identifier: MIT
#ifndef HNIPC_TOOLS_COMMON_INTERFACEFILE_H
#define HNIPC_TOOLS_COMMON_INTERFACEFILE_H

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>

#include <optional>

namespace Toolkit {

struct InterfaceArgument
{
    enum Direction { In, Out }; ///< the arguments of a signal are all Out

    QString name;
    QString type; ///< one complete D-Bus type, such as "a{sv}"
    Direction direction = In;
};

struct InterfaceMember
{
    enum Kind { Method, Signal };

    /// The arguments of one direction, in order.
    QList<InterfaceArgument> arguments(InterfaceArgument::Direction direction) const;
    /// The D-Bus types of these arguments, such as "iit".
    QString signature(InterfaceArgument::Direction direction) const;

    Kind kind = Method;
    QString name; ///< several members have the same one if a method is overloaded
    QList<InterfaceArgument> allArguments;
    QString documentation; ///< one line
    QMap<QString, QString> annotations;
};

/// A D-Bus interface, as in its description in D-Bus introspection XML.
struct Interface
{
    /// The methods, or signals, in the order of the file.
    QList<InterfaceMember> members(InterfaceMember::Kind kind) const;

    QString name;
    QString documentation;
    QList<InterfaceMember> allMembers;
};

/// Reads a file that describes one interface. If the file is invalid, returns nothing and sets
/// @p error to "FILE:LINE: expected ...".
std::optional<Interface> readInterfaceFile(const QString &fileName, QString *error);

} // namespace Toolkit

#endif
