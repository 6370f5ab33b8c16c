// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_EXPECTED_RECORD_H
#define HNIPC_TESTS_EXPECTED_RECORD_H

#include <hnipc/supplyinformation.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>

namespace Expected {

// A field that is sent, in the order on the wire, with two values as GVariant text.
struct RecordField
{
    const char *name;
    const char *type;
    const char *initial; // of a newly constructed record
    const char *telling; // of tellingRecord(); all of them differ
};

const RecordField recordFields[] = {
    { "text1", "s", "''", "'text \xc3\xa4 1'" },
    { "textList1", "as", "@as []", "['list', '', 'one']" },
    { "real1", "d", "-1.0", "1.5" },
    { "integer1", "i", "-1", "101" },
    { "text2", "s", "''", "'text 2'" },
    { "real2", "d", "-1.0", "-2.25" },
    { "integer2", "i", "-1", "-102" },
    { "text3", "s", "''", "'text 3'" },
    { "integer3", "i", "-1", "2147483647" },
    { "text4", "s", "''", "'text 4'" },
    { "integer4", "i", "-1", "-2147483648" },
    { "text5", "s", "''", "'text 5'" },
    { "real3", "d", "-1.0", "3.125" },
    { "integer5", "i", "1", "105" },
    { "bytes1", "ay", "@ay []", "[byte 0x00, 0xff, 0x00, 0x7f]" },
    { "real4", "d", "-1.0", "4.5" },
    { "real5", "d", "-1.0", "5.5" },
    { "integer6", "i", "-1", "106" },
    { "integer7", "i", "-1", "107" },
    { "integer8", "i", "-1", "108" },
    { "real6", "d", "-1.0", "6.5" },
    { "real7", "d", "-1.0", "7.5" },
    { "real8", "d", "-1.0", "8.5" },
    { "real9", "d", "-1.0", "9.5" },
    { "textList2", "as", "@as []", "['list two']" },
    { "variantList1", "av", "@av []", "[<1>, <'two'>]" },
    { "variantList2", "av", "@av []", "[<true>]" },
    { "variantList3", "av", "@av []", "[<uint32 3>, <uint64 33>]" },
    { "variantList4", "av", "@av []", "[<4.5>]" },
    { "variantList5", "av", "@av []", "[<'five'>, <5>, <['v', 'w']>]" },
};

const int recordFieldCount = sizeof recordFields / sizeof recordFields[0];

inline SupplyInformation tellingRecord()
{
    SupplyInformation record;
    record.text1 = QString::fromUtf8("text \xc3\xa4 1");
    record.textList1 << QLatin1String("list") << QLatin1String("") << QLatin1String("one");
    record.real1 = 1.5f;
    record.integer1 = 101;
    record.text2 = QLatin1String("text 2");
    record.real2 = -2.25f;
    record.integer2 = -102;
    record.text3 = QLatin1String("text 3");
    record.integer3 = 2147483647;
    record.text4 = QLatin1String("text 4");
    record.integer4 = -2147483647 - 1;
    record.text5 = QLatin1String("text 5");
    record.real3 = 3.125f;
    record.integer5 = 105;
    record.bytes1 = QByteArray("\x00\xff\x00\x7f", 4);
    record.real4 = 4.5f;
    record.real5 = 5.5f;
    record.integer6 = 106;
    record.integer7 = 107;
    record.integer8 = 108;
    record.real6 = 6.5f;
    record.real7 = 7.5f;
    record.real8 = 8.5f;
    record.real9 = 9.5f;
    record.textList2 << QLatin1String("list two");
    record.variantList1 << 1 << QLatin1String("two");
    record.variantList2 << true;
    record.variantList3 << 3u << 33ull;
    record.variantList4 << 4.5;
    record.variantList5 << QLatin1String("five") << 5
                        << (QStringList() << QLatin1String("v") << QLatin1String("w"));
    return record;
}

// Visits the fields of two records in pairs: the sent fields in order, then text0.
template <typename Visitor, typename First, typename Second>
void visitRecords(Visitor &visit, First &a, Second &b)
{
    visit(a.text1, b.text1);
    visit(a.textList1, b.textList1);
    visit(a.real1, b.real1);
    visit(a.integer1, b.integer1);
    visit(a.text2, b.text2);
    visit(a.real2, b.real2);
    visit(a.integer2, b.integer2);
    visit(a.text3, b.text3);
    visit(a.integer3, b.integer3);
    visit(a.text4, b.text4);
    visit(a.integer4, b.integer4);
    visit(a.text5, b.text5);
    visit(a.real3, b.real3);
    visit(a.integer5, b.integer5);
    visit(a.bytes1, b.bytes1);
    visit(a.real4, b.real4);
    visit(a.real5, b.real5);
    visit(a.integer6, b.integer6);
    visit(a.integer7, b.integer7);
    visit(a.integer8, b.integer8);
    visit(a.real6, b.real6);
    visit(a.real7, b.real7);
    visit(a.real8, b.real8);
    visit(a.real9, b.real9);
    visit(a.textList2, b.textList2);
    visit(a.variantList1, b.variantList1);
    visit(a.variantList2, b.variantList2);
    visit(a.variantList3, b.variantList3);
    visit(a.variantList4, b.variantList4);
    visit(a.variantList5, b.variantList5);
    visit(a.text0, b.text0);
}

class FieldComparer
{
public:
    FieldComparer() : m_field(0), m_equal(0) {}

    template <typename Field>
    void operator()(const Field &a, const Field &b)
    {
        if (m_equal == m_field && a == b) {
            ++m_equal;
        }
        ++m_field;
    }

    // The name of the first field that differs; empty if none does.
    QByteArray difference() const
    {
        if (m_equal == m_field) {
            return QByteArray();
        }
        return m_equal < recordFieldCount ? recordFields[m_equal].name : "text0";
    }

private:
    int m_field;
    int m_equal;
};

inline QByteArray difference(const SupplyInformation &a, const SupplyInformation &b)
{
    FieldComparer comparer;
    visitRecords(comparer, a, b);
    return comparer.difference();
}

// Copies the first fields of another record, in the order on the wire.
class FieldCopier
{
public:
    explicit FieldCopier(int count) : m_left(count) {}

    template <typename Field>
    void operator()(Field &target, const Field &source)
    {
        if (m_left-- > 0) {
            target = source;
        }
    }

private:
    int m_left;
};

inline SupplyInformation tellingUpTo(int count, SupplyInformation record = SupplyInformation())
{
    FieldCopier copier(count);
    const SupplyInformation telling = tellingRecord();
    visitRecords(copier, record, telling);
    return record;
}

inline QList<QByteArray> initialFields()
{
    QList<QByteArray> fields;
    for (const RecordField &field : recordFields) {
        fields.append(field.initial);
    }
    return fields;
}

inline QList<QByteArray> tellingFields()
{
    QList<QByteArray> fields;
    for (const RecordField &field : recordFields) {
        fields.append(field.telling);
    }
    return fields;
}

// GVariant text of a structure or a message body with these members.
inline QByteArray wireStructure(const QList<QByteArray> &members)
{
    QByteArray text = "(";
    for (int i = 0; i < members.size(); ++i) {
        text += (i > 0 ? ", " : "") + members.at(i);
    }
    return text + (members.size() == 1 ? ",)" : ")");
}

} // namespace Expected

#endif
