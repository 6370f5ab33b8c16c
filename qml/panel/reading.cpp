// SPDX-License-Identifier: MIT
#include "reading.h"

// A text without end would stop the screen that lays it out.
static const int mostCharacters = 200;
static const int mostTexts = 8; // enough for every panel of a ribbon

static QVariant forTheScreen(const QVariant &value)
{
    if (value.userType() == QMetaType::QString) {
        return value.toString().left(mostCharacters);
    }
    if (value.userType() == QMetaType::QStringList) {
        QStringList texts = value.toStringList().mid(0, mostTexts);
        for (QString &text : texts) {
            text.truncate(mostCharacters);
        }
        return texts;
    }
    return value;
}

Reading::Reading(const QString &method, QObject *parent) : QObject(parent)
{
    m_request.setMethod(method);
    connect(&m_request, &HNIPCRequest::finished, this, &Reading::onFinished);
}

void Reading::read()
{
    // An answer that is under way may be older than the change.
    m_changedMeanwhile = !m_request.send();
}

void Reading::readWith(const QVariantList &arguments)
{
    if (m_request.arguments() != arguments || !(isKnown() || m_request.isPending())) {
        m_request.setArguments(arguments);
        m_otherMeanwhile = m_request.isPending();
        read();
    }
}

void Reading::forget()
{
    m_changedMeanwhile = false;
    m_request.cancel();
    setValue(QVariant());
}

void Reading::onFinished()
{
    const QVariant value = forTheScreen(m_request.value()); // invalid without an answer
    const bool isOther = m_otherMeanwhile;
    m_otherMeanwhile = false;
    if (m_changedMeanwhile) {
        read();
    }
    // Shown although it may be old already: where changes come faster than answers, none would be.
    if (!isOther) {
        setValue(value);
    }
}

void Reading::setValue(const QVariant &value)
{
    if (value != m_value || value.isValid() != m_value.isValid()) {
        m_value = value;
        emit changed();
    }
}
