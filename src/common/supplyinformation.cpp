// SPDX-License-Identifier: MIT
#include <hnipc/supplyinformation.h>

#include <QtDBus/QDBusVariant>

namespace {

// The fields that are sent, in their order on the bus.
template <typename Carrier, typename Record>
void carryFields(Carrier &carry, Record &record)
{
    carry(record.text1);
    carry(record.textList1);
    carry(record.real1);
    carry(record.integer1);
    carry(record.text2);
    carry(record.real2);
    carry(record.integer2);
    carry(record.text3);
    carry(record.integer3);
    carry(record.text4);
    carry(record.integer4);
    carry(record.text5);
    carry(record.real3);
    carry(record.integer5);
    carry(record.bytes1);
    carry(record.real4);
    carry(record.real5);
    carry(record.integer6);
    carry(record.integer7);
    carry(record.integer8);
    carry(record.real6);
    carry(record.real7);
    carry(record.real8);
    carry(record.real9);
    carry(record.textList2);
    carry(record.variantList1);
    carry(record.variantList2);
    carry(record.variantList3);
    carry(record.variantList4);
    carry(record.variantList5);
}

class Writer
{
public:
    explicit Writer(QDBusArgument &argument) : m_argument(argument) {}

    template <typename Field>
    void operator()(const Field &field)
    {
        m_argument << field;
    }

    void operator()(float field) { m_argument << double(field); }

    void operator()(const QVariantList &field)
    {
        m_argument.beginArray(qMetaTypeId<QDBusVariant>());
        for (int i = 0; i < field.size(); ++i) {
            m_argument << QDBusVariant(field.at(i));
        }
        m_argument.endArray();
    }

private:
    QDBusArgument &m_argument;
};

// Checks the type of each member before it reads it. Qt's operators do not check: the process
// crashes if the member has another type.
class Reader
{
public:
    explicit Reader(const QDBusArgument &argument) : m_argument(argument), m_fits(true) {}

    void operator()(QString &field) { read(field, "s"); }
    void operator()(QStringList &field) { read(field, "as"); }
    void operator()(QByteArray &field) { read(field, "ay"); }
    void operator()(int &field) { read(field, "i"); }

    void operator()(float &field)
    {
        if (!nextIs("d")) {
            return;
        }
        double wide;
        m_argument >> wide;
        field = float(wide);
    }

    void operator()(QVariantList &field)
    {
        if (!nextIs("av")) {
            return;
        }
        m_argument.beginArray();
        field.clear();
        while (!m_argument.atEnd()) {
            QDBusVariant element;
            m_argument >> element;
            field.append(element.variant());
        }
        m_argument.endArray();
    }

private:
    bool nextIs(const char *signature);

    template <typename Field>
    void read(Field &field, const char *signature)
    {
        if (nextIs(signature)) {
            m_argument >> field;
        }
    }

    const QDBusArgument &m_argument;
    bool m_fits;
};

bool Reader::nextIs(const char *signature)
{
    m_fits = m_fits && !m_argument.atEnd()
        && m_argument.currentSignature() == QLatin1String(signature);
    return m_fits;
}

} // namespace

QDBusArgument &operator<<(QDBusArgument &argument, const SupplyInformation &information)
{
    Writer write(argument);
    argument.beginStructure();
    carryFields(write, information);
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, SupplyInformation &information)
{
    if (argument.currentType() != QDBusArgument::StructureType) {
        return argument;
    }

    Reader read(argument);
    argument.beginStructure();
    carryFields(read, information);
    argument.endStructure();
    return argument;
}
