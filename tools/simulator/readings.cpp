// SPDX-License-Identifier: MIT
#include "readings.h"

#include "values.h"

Readings::Readings(const std::vector<Reading> &table) : m_table(table)
{
    for (const Reading &row : m_table) {
        m_values.push_back(row.start);
    }
    m_origins = m_values;
}

bool Readings::set(int reading, const QVariant &value)
{
    const size_t place = static_cast<size_t>(reading);
    m_values.at(place) = m_origins.at(place) = value;
    tell(reading);
    wasSet(reading);
    return true;
}

bool Readings::change(int reading, const QVariant &value)
{
    return value == this->value(reading) || set(reading, value);
}

bool Readings::measure(int reading)
{
    const size_t place = static_cast<size_t>(reading);
    const QVariant &origin = m_origins.at(place);
    ++m_measurements;
    if (origin.userType() == QMetaType::ULongLong) {
        m_values[place] = m_values[place].toULongLong() * 6364136223846793005u + m_measurements;
    } else if (const int spread = origin == 0 ? 0 : m_table.at(place).spread) {
        const qint64 above = m_values[place].toLongLong() - origin.toLongLong();
        QVariant value = origin.toLongLong() + (above + 5) % (spread + 1);
        m_values[place] = fitToType(&value, origin.userType()) ? value : origin;
    }
    tell(reading);
    wasSet(reading);
    return true;
}

bool Readings::tell(int reading)
{
    const Reading &row = m_table.at(static_cast<size_t>(reading));
    if (row.signal) {
        QVariantList arguments;
        if (row.unit) {
            arguments += row.unit;
        }
        arguments += value(reading);
        Q_EMIT announced(QLatin1String(row.signal), arguments);
    }
    return true;
}

QStringList Readings::names() const
{
    QStringList result;
    for (const Reading &row : m_table) {
        result += QLatin1String(row.name);
    }
    return result;
}

int Readings::find(const QString &name) const { return static_cast<int>(names().indexOf(name)); }

QString Readings::setFromOutside(int reading, const QVariant &value)
{
    QVariant fitted = value;
    const int type = this->value(reading).userType();
    if (!fitToType(&fitted, type)) {
        return QStringLiteral("%1 has to be %2").arg(names().at(reading), nameOfType(type));
    }
    set(reading, fitted);
    return QString();
}

void Readings::wasSet(int) {}
