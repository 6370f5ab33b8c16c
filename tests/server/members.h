// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_MEMBERS_H
#define HNIPC_TESTS_MEMBERS_H

#include <QtCore/QList>
#include <QtCore/QObject>

#include <cstddef>
#include <cstring>
#include <type_traits>

// True if all these pointers to members are of the type Member.
template <typename Member, typename... Members>
struct AreOfType : std::true_type
{
};

template <typename Member, typename First, typename... Others>
struct AreOfType<Member, First, Others...> :
    std::integral_constant<
        bool, std::is_same<Member, First>::value && AreOfType<Member, Others...>::value>
{
};

template <typename Member, typename... Members>
constexpr bool areOfType(Members...)
{
    return AreOfType<Member, Members...>::value;
}

// The index of an operation in the virtual table, against which daemons are compiled. On the
// Itanium C++ ABI, a pointer to a member contains it. -1 for an operation that is not virtual.
template <typename Member>
int virtualIndex(Member member)
{
    std::ptrdiff_t words[2];
    static_assert(sizeof(member) == sizeof(words), "not the Itanium C++ ABI");
    std::memcpy(words, &member, sizeof(words));
    const int size = sizeof(void *);
#if defined(__arm__) || defined(__aarch64__)
    return words[1] & 1 ? int(words[0]) / size : -1;
#else
    return words[0] & 1 ? int(words[0] - 1) / size : -1;
#endif
}

// The indexes of the first operations after those of QObject.
inline QList<int> virtualIndexesAfterQObject(int count)
{
    struct Last : QObject
    {
        using QObject::disconnectNotify;
    };
    const int first = virtualIndex(&Last::disconnectNotify) + 1;
    QList<int> result;
    for (int index = first; index < first + count; ++index) {
        result.append(index);
    }
    return result;
}

// Its index follows those of all virtual operations of Class.
template <typename Class>
struct WithOneMore : Class
{
    virtual void oneMore();
};

struct VirtualIndexes
{
    QList<int> found;

    template <typename Member>
    void operator()(Member member)
    {
        found.append(virtualIndex(member));
    }
};

// The indexes of the operations of Interface, in the order of its description, and of one more.
// Operations is the class that tests/operations has for Interface.
template <typename Interface, typename Operations>
QList<int> virtualIndexes()
{
    VirtualIndexes indexes;
    Operations::each(indexes);
    indexes(&WithOneMore<Interface>::oneMore);
    return indexes.found;
}

#endif
