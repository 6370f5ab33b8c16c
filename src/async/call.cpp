// SPDX-License-Identifier: MIT
#include "async/call_p.h"

#include "common/serviceidentity_p.h"

Call::Call(const RemoteMethod &method, const QVariantList &arguments, int deadline, int number,
           const std::shared_ptr<Mailbox<RequestLetter>> &request)
    : m_daemon(method.daemon), m_deadline(deadline), m_number(number), m_request(request),
      m_isSent(false), m_isWithdrawn(false)
{
    const ServiceIdentity *daemon = serviceIdentity(m_daemon);
    m_message = QDBusMessage::createMethodCall(daemon->busName, daemon->path, daemon->interfaceName,
                                               method.name);
    m_message.setArguments(arguments);
    m_message.setAutoStartService(false);
    m_clock.start();
}

bool Call::withdraw()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isWithdrawn = true;
    return !m_isSent;
}

bool Call::beginSending()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isSent = !m_isWithdrawn && m_clock.elapsed() < m_deadline;
    return m_isSent;
}

void Call::end(RequestLetter::Kind kind, const QDBusMessage &reply)
{
    RequestLetter letter(kind, m_number);
    letter.reply = reply;
    m_request->put(letter);
}
