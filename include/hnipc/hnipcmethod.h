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
/// One overload of a method, selected by its result and parameter types:
/// HNIPC_OVERLOAD(sendMCCMessage, bool(int, int, quint64)).
#define HNIPC_OVERLOAD(name, ...) HNIPCMethodOf<__VA_ARGS__>::make(#name, &HNIPC::name)

/// Converts an argument to a variant. This one is for parameters that are neither booleans nor
/// integers.
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

// A number out of the parameter's range keeps its own type, so that the request refuses it.
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

/// Converts the arguments of a call to variants, each to the type of its parameter.
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
 * A method of HNIPC: its name and its type. The compiler checks the arguments of a call against the
 * type. Only HNIPC_METHOD and HNIPC_OVERLOAD create it.
 */
template <typename Result, typename... Parameters>
class HNIPCMethod
{
public:
    /// The name of the method.
    const char *name() const { return m_name; }

    /// The arguments, each in the type of its parameter. Does not compile if there are too many, or
    /// if one is of another kind than its parameter. An integer out of the parameter's range keeps
    /// its own type.
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

/// Creates the HNIPCMethod from the method's name and its pointer. If Signature is void, the method
/// may have any type. Otherwise it must have the type Signature.
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
