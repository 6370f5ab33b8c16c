// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_EXPECTED_CLIENTCALL_H
#define HNIPC_TESTS_EXPECTED_CLIENTCALL_H

#include <hnipc/hnipc.h>

#include <QtCore/QVariant>

#include <functional>

namespace Expected {

// References have no name here: arguments are passed by value.
// clang-format off
template <typename T> struct TypeName;
template <> struct TypeName<void> { static const char *name() { return ""; } };
template <> struct TypeName<bool> { static const char *name() { return "bool"; } };
template <> struct TypeName<int> { static const char *name() { return "int"; } };
template <> struct TypeName<uint> { static const char *name() { return "uint"; } };
template <> struct TypeName<qulonglong> { static const char *name() { return "qulonglong"; } };
template <> struct TypeName<double> { static const char *name() { return "double"; } };
template <> struct TypeName<QString> { static const char *name() { return "QString"; } };
template <> struct TypeName<QStringList> { static const char *name() { return "QStringList"; } };
template <> struct TypeName<QByteArray> { static const char *name() { return "QByteArray"; } };
template <> struct TypeName<QVariantHash> { static const char *name() { return "QVariantHash"; } };
template <> struct TypeName<SupplyInformation>
{
    static const char *name() { return "SupplyInformation"; }
};
// clang-format on

// One form in which C++ can call a method of the client.
struct ClientCall
{
    QByteArray result;
    QList<QByteArray> arguments;
    std::function<QVariant(HNIPC &, const QVariantList &)> invoke;
};

// clang-format off
template <int... I> struct Indexes {};
template <int N, int... I> struct IndexesUpTo : IndexesUpTo<N - 1, N - 1, I...> {};
template <int... I> struct IndexesUpTo<0, I...> { typedef Indexes<I...> Type; };
// clang-format on

template <typename Result, typename... Arguments, int... I>
QVariant invoke(const std::function<Result(HNIPC &, Arguments...)> &function, HNIPC &client,
                const QVariantList &arguments, Indexes<I...>)
{
    Q_UNUSED(arguments);
    return QVariant::fromValue(function(client, qvariant_cast<Arguments>(arguments.at(I))...));
}

template <typename... Arguments, int... I>
QVariant invoke(const std::function<void(HNIPC &, Arguments...)> &function, HNIPC &client,
                const QVariantList &arguments, Indexes<I...>)
{
    Q_UNUSED(arguments);
    function(client, qvariant_cast<Arguments>(arguments.at(I))...);
    return QVariant();
}

template <typename Result, typename... Arguments>
ClientCall callWith(const std::function<Result(HNIPC &, Arguments...)> &function)
{
    ClientCall result;
    result.result = TypeName<Result>::name();
    result.arguments = { QByteArray(TypeName<Arguments>::name())... };
    result.invoke = [function](HNIPC &client, const QVariantList &arguments) {
        return invoke(function, client, arguments,
                      typename IndexesUpTo<sizeof...(Arguments)>::Type());
    };
    return result;
}

template <typename Result, typename... Arguments>
ClientCall callOf(Result (HNIPC::*method)(Arguments...))
{
    return callWith(std::function<Result(HNIPC &, Arguments...)>(method));
}

template <typename Result, typename... Arguments>
ClientCall callOf(Result (*shortened)(HNIPC &, Arguments...))
{
    return callWith(std::function<Result(HNIPC &, Arguments...)>(shortened));
}

} // namespace Expected

#endif
