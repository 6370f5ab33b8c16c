// SPDX-License-Identifier: MIT
#ifndef MAILBOX_P_H
#define MAILBOX_P_H

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>

#include <list>
#include <mutex>

// The type of the events that come with letters, which applications do not use for their own.
inline QEvent::Type letterEvent()
{
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
}

// Passes letters from any thread to an object of one thread. Each letter has an event of its own. So
// letters are delivered one by one and in order, also by a nested event loop, and go along when the
// object is moved to another thread.
template <typename Letter>
class Mailbox
{
public:
    explicit Mailbox(QObject *owner) : m_owner(owner) {}

    // Dropped if the mailbox is closed.
    void put(const Letter &letter)
    {
        const std::lock_guard<std::mutex> lock(m_ownerMutex);
        if (!m_owner) {
            return;
        }
        {
            const std::lock_guard<std::mutex> lettersLock(m_lettersMutex);
            m_letters.push_back(letter);
        }
        QCoreApplication::postEvent(m_owner, new QEvent(letterEvent()));
    }

    // By the owner, for each letterEvent(). False if there is none.
    bool take(Letter *letter)
    {
        const std::lock_guard<std::mutex> lock(m_lettersMutex);
        if (m_letters.empty()) {
            return false;
        }
        *letter = m_letters.front();
        m_letters.pop_front();
        return true;
    }

    // The same for an owner whose receivers may run an event loop: there, Qt's dispatcher on GLib does
    // not deliver what was posted before, to any object, until it is woken up.
    bool takeForReceivers(Letter *letter)
    {
        if (!take(letter)) {
            return false;
        }
        if (QAbstractEventDispatcher *dispatcher = QAbstractEventDispatcher::instance()) {
            dispatcher->wakeUp();
        }
        return true;
    }

    bool isEmpty()
    {
        const std::lock_guard<std::mutex> lock(m_lettersMutex);
        return m_letters.empty();
    }

    // By the owner, when it is destroyed.
    void close()
    {
        const std::lock_guard<std::mutex> lock(m_ownerMutex);
        m_owner = nullptr;
        const std::lock_guard<std::mutex> lettersLock(m_lettersMutex);
        m_letters.clear();
    }

private:
    // Not Qt's, which ThreadSanitizer does not see. Two, because the event wakes the owner's thread
    // at once: it would only wait for put() to unlock the letters.
    std::mutex m_ownerMutex;
    QObject *m_owner;
    std::mutex m_lettersMutex;
    std::list<Letter> m_letters; // which, empty, takes no memory of its own
};

#endif
