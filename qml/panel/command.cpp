// SPDX-License-Identifier: MIT
#include "command.h"

#include "words.h"

#include <utility>

Command::Command(const Words &words, const QString &method, const QVariantList &arguments,
                 int patience, std::function<QString()> reason, QObject *parent)
    : QObject(parent), m_words(words), m_reason(std::move(reason))
{
    m_request.setMethod(method);
    m_request.setArguments(arguments);
    m_request.setDeadline(patience);
    connect(&m_request, &HNIPCRequest::finished, this, &Command::onFinished);
}

void Command::run()
{
    if (!m_request.isPending()) {
        m_outcome.clear();
        m_request.send();
        emit changed();
    }
}

void Command::settle(const QString &outcome, bool good)
{
    if (!isAtWork() && m_good) {
        m_outcome = outcome;
        m_good = good;
        emit changed();
    }
}

void Command::onFinished()
{
    m_good = m_request.isDone();
    switch (m_request.outcome()) {
    case HNIPCRequest::Answered:
        m_outcome = m_good ? QString::fromLatin1(m_words.done) : refusal();
        break;
    case HNIPCRequest::Refused:
        m_outcome = QStringLiteral("refused: ") + ::Words::brief(m_request.errorText());
        break;
    case HNIPCRequest::NotSent:
        m_outcome = m_request.reason() == HNIPCRequest::DaemonAbsent
            ? QStringLiteral("not done: print engine is absent")
            : QStringLiteral("not done: ") + ::Words::brief(m_request.errorText());
        break;
    default:
        m_outcome = QStringLiteral("unknown: look at the printer");
    }
    emit changed();
    emit finished(label(), m_outcome);
}

QString Command::refusal() const
{
    const QString reason = m_reason();
    return reason.isEmpty() ? QString::fromLatin1(m_words.no)
                            : QStringLiteral("refused: ") + reason;
}
