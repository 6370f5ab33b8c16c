// SPDX-License-Identifier: MIT
#ifndef HNIPCMETHOD_H
#define HNIPCMETHOD_H

#include <hnipc/hnipc.h>

#include <QtCore/QVariant>

#include <type_traits>

/// @relates HNIPCMethod
/// A method of HNIPC, for HNIPCRequest::setCall(), HNIPCReading::setCall() and hnipcCall(). For a
/// method with overloads, see HNIPC_OVERLOAD.
#define HNIPC_METHOD(name) HNIPCMethodOf<void>::make(#name, &HNIPC::name)

/// @relates HNIPCMethod
/// One of the overloads of a method, with its result and its parameters:
/// HNIPC_OVERLOAD(sendMCCMessage, bool(int, int, quint64)).
#define HNIPC_OVERLOAD(name, ...) HNIPCMethodOf<__VA_ARGS__>::make(#name, &HNIPC::name)

/// An argument as a variant, for a parameter that is neither a boolean nor a number.
template <typename Parameter, bool isInteger = std::is_integral<Parameter>::value>
struct HNIPCArgument
{
    template <typename Argument>
    static QVariant wrapped(const Argument &argument)
    {
        static_assert(std::is_convertible<const Argument &, Parameter>::value,
                      "the argument cannot be converted to the type of the parameter");
        const Parameter converted = argument;
        return QVariant(converted);
    }
};

template <>
struct HNIPCArgument<bool, true>
{
    template <typename Argument>
    static QVariant wrapped(const Argument &argument)
    {
        static_assert(std::is_same<Argument, bool>::value, "the parameter is a boolean");
        return QVariant(argument);
    }
};

// A number that the parameter cannot hold stays as it is, so that it is refused when it is sent.
template <typename Parameter>
struct HNIPCArgument<Parameter, true>
{
    template <typename Argument>
    static QVariant wrapped(const Argument &argument)
    {
        static_assert((std::is_integral<Argument>::value && !std::is_same<Argument, bool>::value
                       && !std::is_same<Argument, char>::value)
                          || (std::is_enum<Argument>::value
                              && std::is_convertible<Argument, qlonglong>::value),
                      "the parameter is an integer");
        const Parameter converted = static_cast<Parameter>(argument);
        const bool isSame = static_cast<Argument>(converted) == argument
            && (converted > Parameter()) == (argument > Argument());
        return isSame                           ? QVariant(converted)
            : std::is_unsigned<Argument>::value ? QVariant(static_cast<qulonglong>(argument))
                                                : QVariant(static_cast<qlonglong>(argument));
    }
};

/// The arguments of a call as variants, each for its parameter.
template <typename... Parameters>
struct HNIPCArguments
{
    static QVariantList wrapped() { return QVariantList(); }
};

template <typename First, typename... Rest>
struct HNIPCArguments<First, Rest...>
{
    static QVariantList wrapped() { return QVariantList(); }

    template <typename Argument, typename... Arguments>
    static QVariantList wrapped(const Argument &argument, const Arguments &...arguments)
    {
        return QVariantList() << HNIPCArgument<First>::wrapped(argument)
                              << HNIPCArguments<Rest...>::wrapped(arguments...);
    }
};

/**
 * A method of HNIPC: its name, and its type, by which the compiler checks the arguments. Made by
 * HNIPC_METHOD and HNIPC_OVERLOAD only.
 */
template <typename Result, typename... Parameters>
class HNIPCMethod
{
public:
    /// The name of the method.
    const char *name() const { return m_name; }

    /// The arguments, each in the type of its parameter. Does not compile if there are too many or
    /// if one is of another kind than its parameter. An integer out of the parameter's range stays
    /// in its own type.
    template <typename... Arguments>
    QVariantList wrapped(const Arguments &...arguments) const
    {
        static_assert(sizeof...(Arguments) <= sizeof...(Parameters),
                      "the method takes fewer arguments");
        return HNIPCArguments<Parameters...>::wrapped(arguments...);
    }

private:
    template <typename Signature>
    friend struct HNIPCMethodOf;

    explicit HNIPCMethod(const char *name) : m_name(name) {}

    const char *m_name;
};

/// Makes the method from its name and its pointer: of any type, or of this one.
template <typename Signature>
struct HNIPCMethodOf;

template <>
struct HNIPCMethodOf<void>
{
    template <typename Result, typename... Parameters>
    static HNIPCMethod<Result, Parameters...> make(const char *name,
                                                   Result (HNIPC::*)(Parameters...))
    {
        return HNIPCMethod<Result, Parameters...>(name);
    }
};

template <typename Result, typename... Parameters>
struct HNIPCMethodOf<Result(Parameters...)>
{
    static HNIPCMethod<Result, Parameters...> make(const char *name,
                                                   Result (HNIPC::*)(Parameters...))
    {
        return HNIPCMethod<Result, Parameters...>(name);
    }
};

#endif
