// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_EXPECTED_SAMPLES_H
#define HNIPC_TESTS_EXPECTED_SAMPLES_H

#include "expected/record.h"
#include "support/signature.h"
#include "support/wirepeer.h"

#include <QtCore/QList>
#include <QtCore/QVariant>

namespace Expected {

// A value of a type of the interface, in Qt and as GVariant text.
struct Sample
{
    QVariant value;
    QByteArray wire;
};

// The values that the tests use for arguments and results of a type. The first is the empty value,
// which a failed call returns, too.
inline QList<Sample> samplesOf(const QByteArray &typeName)
{
    const QByteArray type = withoutAliases(typeName);
    if (type == "bool") {
        return { { false, "false" }, { true, "true" } };
    }
    if (type == "int") {
        // clang-format off
        return { { 0, "0" }, { 7, "7" }, { -1, "-1" }, { 2147483647, "2147483647" },
                 { -2147483647 - 1, "-2147483648" } };
        // clang-format on
    }
    if (type == "uint") {
        return { { 0u, "uint32 0" }, { 8u, "uint32 8" }, { 4294967295u, "uint32 4294967295" } };
    }
    if (type == "qulonglong") {
        return { { 0ull, "uint64 0" },
                 { 4294967297ull, "uint64 4294967297" },
                 { 18446744073709551615ull, "uint64 18446744073709551615" } };
    }
    if (type == "double") {
        return { { 0.0, "0.0" }, { 99.5, "99.5" }, { -0.1, "-0.1" }, { 1e300, "1e300" } };
    }
    if (type == "QString") {
        return { { QString(), "''" },
                 { QString::fromLatin1("S-100 'x'"), "\"S-100 'x'\"" },
                 { QString::fromUtf8(" \xc3\xa4\xe2\x82\xac\xf0\x9f\x96\xa8 "),
                   "' \xc3\xa4\xe2\x82\xac\xf0\x9f\x96\xa8 '" } };
    }
    if (type == "QStringList") {
        return { { QStringList(), "@as []" },
                 { QStringList() << QLatin1String("R1") << QLatin1String("R2"), "['R1', 'R2']" },
                 { QStringList() << QLatin1String(""), "['']" } };
    }
    if (type == "QByteArray") {
        return { { QByteArray(), "@ay []" },
                 { QByteArray("\x89PNG\x00\xff", 6),
                   "[byte 0x89, 0x50, 0x4e, 0x47, 0x00, 0xff]" } };
    }
    if (type == "QVariantHash") {
        QVariantHash hash;
        hash.insert(QLatin1String("number"), 1);
        hash.insert(QLatin1String(""), QLatin1String("text"));
        return { { QVariantHash(), "@a{sv} {}" }, { hash, "{'number': <1>, '': <'text'>}" } };
    }
    if (type == "SupplyInformation") {
        return { { QVariant::fromValue(SupplyInformation()), wireStructure(initialFields()) },
                 { QVariant::fromValue(tellingRecord()), wireStructure(tellingFields()) } };
    }
    qFatal("no samples of %s", typeName.constData());
    return QList<Sample>();
}

// True if type and value are the same. QVariant's own comparison would convert.
inline bool same(const QVariant &a, const QVariant &b)
{
    if (a.userType() != b.userType()) {
        return false;
    }
    if (a.userType() == qMetaTypeId<SupplyInformation>()) {
        return difference(a.value<SupplyInformation>(), b.value<SupplyInformation>()).isEmpty();
    }
    return a == b;
}

// The same for the value of a failed call, in which strings and byte arrays are null, not only
// empty.
inline bool sameOnFailure(const QVariant &value, const QVariant &empty)
{
    const bool isNull = value.userType() == QMetaType::QString ? value.toString().isNull()
        : value.userType() == QMetaType::QByteArray            ? value.toByteArray().isNull()
                                                               : true;
    return isNull && same(value, empty);
}

// A sample for each parameter of a method. Different rounds return different samples.
inline QList<Sample> argumentSamples(const QByteArray &signature, int round)
{
    QList<Sample> result;
    const int open = signature.indexOf('(');
    const QByteArray types = signature.mid(open + 1, signature.size() - open - 2);
    if (!types.isEmpty()) {
        const QList<QByteArray> typeList = types.split(',');
        for (int i = 0; i < typeList.size(); ++i) {
            const QList<Sample> samples = samplesOf(typeList.at(i));
            result.append(samples.at((round + i) % samples.size()));
        }
    }
    return result;
}

// The message body with these samples, in the form in which bodies are printed.
inline QByteArray wireBody(const QList<Sample> &samples, const QList<QByteArray> &added = {})
{
    QList<QByteArray> members;
    for (const Sample &sample : samples) {
        members.append(sample.wire);
    }
    return wireText(wireStructure(members + added));
}

inline QVariantList values(const QList<Sample> &samples)
{
    QVariantList result;
    for (const Sample &sample : samples) {
        result.append(sample.value);
    }
    return result;
}

} // namespace Expected

#endif
