// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_CONTRACT_H
#define HNIPC_TESTS_CONTRACT_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QMetaObject>

// The members of an interface, in the same form for each side of the bus, so that the sides can be
// compared.
namespace Contract {

struct Argument
{
    QByteArray name;
    QByteArray type; // the D-Bus type
};

struct Member
{
    QByteArray signature() const; // of the arguments: "iit"
    QByteArray form() const;      // "(type i, definedMessage i) -> b"

    QByteArray kind; // "method" or "signal"
    QByteArray name;
    QList<Argument> arguments;
    QByteArray result; // the D-Bus type; empty for none
    QByteArray resultName;
    QByteArray resultClass; // the Qt type, if the D-Bus type does not determine it
    QByteArray documentation;
};

typedef QList<Member> Members;
typedef QList<QByteArray> Lines;

// One side, and its name in the lines.
struct Side
{
    QByteArray name;
    Members members;
};

// The differences, a line for each member. The arguments distinguish overloads.
Lines disagreements(const Side &one, const Side &other);
// The same, with differences in the order.
Lines disagreementsInOrder(const Side &one, const Side &other);

Members methodsAmong(const Members &members);
Members signalsAmong(const Members &members);

// The interfaces of an introspection document. For a document with an error, the interface is "?",
// with a member that contains the error.
QMap<QByteArray, Members> interfacesIn(const QByteArray &xml);

// The signals, or slots, that the class itself declares.
Members declaredSignals(const QMetaObject &metaObject);
Members declaredSlots(const QMetaObject &metaObject);

// The D-Bus type of a Qt type; "?" and the name of the Qt type if the contract does not have it.
QByteArray wireTypeOf(const QByteArray &type);

} // namespace Contract

#endif
