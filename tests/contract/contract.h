// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_CONTRACT_H
#define HNIPC_TESTS_CONTRACT_H

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QMetaObject>

// What two sides of the bus say of an interface, in one form, so that they can be held against each
// other.
namespace Contract {

struct Argument
{
    QByteArray name;
    QByteArray type; // on the bus
};

struct Member
{
    QByteArray signature() const; // of the arguments: "iit"
    QByteArray form() const;      // "(type i, definedMessage i) -> b"

    QByteArray kind; // "method" or "signal"
    QByteArray name;
    QList<Argument> arguments;
    QByteArray result; // on the bus; empty for none
    QByteArray resultName;
    QByteArray resultClass; // in Qt, where the type on the bus does not tell
    QByteArray documentation;
};

typedef QList<Member> Members;
typedef QList<QByteArray> Lines;

// One side, and what the lines call it.
struct Side
{
    QByteArray name;
    Members members;
};

// Where they disagree, a line for each member. Overloads are told apart by their arguments.
Lines disagreements(const Side &one, const Side &other);
// The same, and their order, too.
Lines disagreementsInOrder(const Side &one, const Side &other);

Members methodsAmong(const Members &members);
Members signalsAmong(const Members &members);

// The interfaces of an introspection document. One that is not understood has an interface "?" with
// a member that says why.
QMap<QByteArray, Members> interfacesIn(const QByteArray &xml);

// The signals, or slots, that a class declares itself.
Members declaredSignals(const QMetaObject &metaObject);
Members declaredSlots(const QMetaObject &metaObject);

// The type on the bus of a type in Qt; "?" and its name for one that the contract does not have.
QByteArray wireTypeOf(const QByteArray &type);

} // namespace Contract

#endif
