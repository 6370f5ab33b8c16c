// SPDX-License-Identifier: MIT
#ifndef HNIPC_TESTS_PANEL_SCREEN_H
#define HNIPC_TESTS_PANEL_SCREEN_H

#include "keyguard.h"
#include "support/waituntil.h"

#include <QtCore/QAbstractItemModel>
#include <QtCore/QUrl>
#include <QtGui/QColor>
#include <QtGui/QImage>
#include <QtQml/QQmlEngine>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickItemGrabResult>
#include <QtQuick/QQuickView>
#include <QtTest/QTest>

#include <cmath>

// The front panel in a window, with methods to read it, touch it and type.
class Screen
{
public:
    // The times are those of Panel.qml, by their names, in milliseconds.
    explicit Screen(const QSize &size = QSize(800, 480), const QVariantMap &times = {})
    {
        m_view.setResizeMode(QQuickView::SizeRootObjectToView);
        m_view.engine()->addImportPath(HNIPC_QML_BUILD_DIR);
        m_view.engine()->addImportPath("qrc:/");
        m_view.setInitialProperties(times);
        m_view.setSource(QUrl("qrc:/HNIPC/Panel/Panel.qml"));
        m_view.resize(size);
        m_view.show();
        m_view.requestActivate();
        const auto isThere = [&]() {
            return m_view.isExposed() && m_view.isActive()
                && m_view.rootObject()->property("listening").toBool(); // else events are not shown
        };
        if (!waitUntil(isThere)) {
            qFatal("there is no screen");
        }
    }

    QQuickView &view() { return m_view; }

    // The item at a path of names, outer ones first: "supply/name".
    QQuickItem *item(const QString &path) const
    {
        QQuickItem *result = itemIfAny(path);
        if (!result) {
            qFatal("no item %s", qPrintable(path));
        }
        return result;
    }

    bool isShown(const QString &path) const
    {
        const QQuickItem *shown = itemIfAny(path);
        return shown && shown->isVisible();
    }

    // The text without the mark for good or bad.
    QString text(const QString &path) const
    {
        QString result = item(path)->property("text").toString();
        return mark(path).isNull() ? result : result.mid(2);
    }

    QChar mark(const QString &path) const
    {
        const QString text = item(path)->property("text").toString();
        const bool isMarked = QString::fromUtf8("✓✕⚠").contains(text.left(1)) && text.size() > 1;
        return isMarked ? text.at(0) : QChar();
    }

    QString color(const QString &path) const { return colorOf(item(path)).name(); }

    // The colours of a roll, as they are painted, and the "?" of entries that are not colours.
    QStringList swatches(const QString &roll) const
    {
        QStringList result;
        for (const QQuickItem *swatch : all(item(roll))) {
            if (swatch->objectName() == "color") {
                const QQuickItem *mark = swatch->childItems().at(0);
                result += mark->isVisible() ? mark->property("text").toString()
                                            : colorOf(swatch).name();
            }
        }
        return result;
    }

    QStringList events() const
    {
        QStringList result;
        QAbstractItemModel
            *events = item("events")->property("model").value<QAbstractItemModel *>();
        const int role = events->roleNames().key("text");
        for (int row = 0; row < events->rowCount(); ++row) {
            result += events->data(events->index(row, 0), role).toString();
        }
        return result;
    }

    bool shows(const QString &path, const QString &expected) const
    {
        const bool shown = waitUntil([&]() { return text(path) == expected; });
        if (!shown) {
            qWarning("%s shows \"%s\", not \"%s\"", qPrintable(path), qPrintable(text(path)),
                     qPrintable(expected));
        }
        return shown;
    }

    bool tells(const QString &event) const
    {
        return waitUntil([&]() { return events().contains(event); });
    }

    QRectF placeOf(const QString &path) const
    {
        return item(path)->mapRectToScene(item(path)->boundingRect());
    }

    QPoint middleOf(const QString &path) const
    {
        const QQuickItem *touched = item(path);
        return touched->mapToScene(QPointF(touched->width(), touched->height()) / 2).toPoint();
    }

    void click(const QString &path)
    {
        QTest::mouseClick(&m_view, Qt::LeftButton, Qt::NoModifier, middleOf(path));
    }

    void type(Qt::Key key) { QTest::keyClick(&m_view, key); }

    // Presses Tab until the item has the focus, at most 20 times.
    bool tabTo(const QString &path)
    {
        for (int i = 0; i < 20 && !item(path)->hasActiveFocus(); ++i) {
            type(Qt::Key_Tab);
        }
        return item(path)->hasActiveFocus();
    }

    bool renders(int frames)
    {
        int rendered = 0;
        const auto count = QObject::connect(&m_view, &QQuickWindow::frameSwapped,
                                            [&rendered]() { ++rendered; });
        const bool done = waitUntil([&]() {
            m_view.update();
            return rendered >= frames;
        });
        QObject::disconnect(count);
        return done;
    }

    // Faults that make the page hard to read: text that leaves its place, covers another text, or
    // has too little contrast.
    QString faults()
    {
        if (!renders(1)) { // the items are placed only when the window is shown
            return "nothing is painted";
        }
        QStringList result;
        QList<QPair<QString, QRectF>> painted;
        QQuickItem *page = m_view.rootObject();
        for (QQuickItem *text : shownTexts()) {
            const QString name = nameOf(text);
            const QRectF ink = inkOf(text);
            const QRectF own(0, 0, text->width(), text->height());
            if (!contains(own, ink)) {
                result += name + " leaves its box";
            }
            const QQuickItem *list = ancestor(text, "QQuickListView");
            const QQuickItem *card = ancestor(text, "QQuickRectangle");
            QRectF place = text->mapRectToItem(card, ink);
            if (list) { // a list clips its end, and scrolls
                place.setTop(0);
                place.setBottom(1);
            }
            if (!contains(QRectF(0, 0, card->width(), card->height()), place)) {
                result += name + " leaves its card";
            }
            const QRectF onPage = text->mapRectToItem(page, ink);
            if (!list && !contains(page->boundingRect(), onPage)) {
                result += name + " leaves the page";
            }
            const double contrast = contrastOf(colorOf(text), colorOf(card));
            if (contrast < 4.5) {
                result += QString("%1 has contrast %2").arg(name).arg(contrast);
            }
            for (const auto &other : std::as_const(painted)) {
                if (!list && other.second.adjusted(0.5, 0.5, -0.5, -0.5).intersects(onPage)) {
                    result += name + " covers " + other.first;
                }
            }
            if (!list) {
                painted.append({ name, onPage });
            }
        }
        return result.join('\n');
    }

    // The items whose colour is missing at their place in a picture of the screen: texts and
    // colours of rolls.
    QString missingInPicture() const
    {
        const auto grab = m_view.rootObject()->grabToImage();
        bool isReady = false;
        QObject::connect(grab.data(), &QQuickItemGrabResult::ready, [&]() { isReady = true; });
        if (!waitUntil([&]() { return isReady; })) {
            return "the picture";
        }
        const QImage picture = grab->image();
        QStringList result;
        for (QQuickItem *text : shownTexts()) {
            const QQuickItem *list = ancestor(text, "QQuickListView");
            const QRectF place = text->mapRectToScene(inkOf(text));
            if (list && !contains(list->mapRectToScene(list->boundingRect()), place)) {
                continue; // clipped
            }
            if (!has(picture, place.toAlignedRect(), colorOf(text))) {
                result += nameOf(text);
            }
        }
        for (QQuickItem *swatch : all(m_view.rootObject())) {
            if (swatch->objectName() == "color" && !isShown("help")
                && swatch->property("colorText") != QString()) {
                const QRectF place = swatch->mapRectToScene(swatch->boundingRect());
                if (picture.pixelColor(place.center().toPoint()) != colorOf(swatch)) {
                    result += colorOf(swatch).name();
                }
            }
        }
        return result.join('\n');
    }

    // The texts on the page or sheet in front.
    QList<QQuickItem *> shownTexts() const
    {
        QList<QQuickItem *> result;
        const QQuickItem *sheet = m_view.rootObject()->property("openSheet").value<QQuickItem *>();
        for (QQuickItem *text : all(m_view.rootObject())) {
            if (text->inherits("QQuickText") && text->isVisible()
                && !text->property("text").toString().isEmpty()
                && text->objectName() != "sign" // a symbol, not text
                && (!sheet || sheet->isAncestorOf(text) || item("header")->isAncestorOf(text))) {
                result += text;
            }
        }
        return result;
    }

    static double contrastOf(const QColor &a, const QColor &b)
    {
        const double x = luminance(a), y = luminance(b);
        return (qMax(x, y) + 0.05) / (qMin(x, y) + 0.05);
    }

    // An item and all its descendants.
    static QList<QQuickItem *> all(QQuickItem *item)
    {
        QList<QQuickItem *> result = { item };
        const QList<QQuickItem *> children = item->childItems();
        for (QQuickItem *child : children) {
            result += all(child);
        }
        return result;
    }

    static QColor colorOf(const QQuickItem *item)
    {
        return item->property("color").value<QColor>();
    }

private:
    QQuickItem *itemIfAny(const QString &path) const
    {
        QQuickItem *result = m_view.rootObject();
        const QStringList names = path.split('/');
        for (const QString &name : names) {
            result = result ? find(result, name) : nullptr;
        }
        return result;
    }

    static QString nameOf(const QQuickItem *text)
    {
        return text->parentItem()->objectName() + '/' + text->objectName() + " \""
            + text->property("text").toString().left(40) + '"';
    }

    // The pixels of a thin letter may all be mixed with the background, so a similar colour is
    // enough.
    static bool has(const QImage &picture, const QRect &place, const QColor &color)
    {
        const QRect seen = place.intersected(picture.rect());
        for (int y = seen.top(); y <= seen.bottom(); ++y) {
            for (int x = seen.left(); x <= seen.right(); ++x) {
                const QColor other = picture.pixelColor(x, y);
                if (qAbs(other.red() - color.red()) + qAbs(other.green() - color.green())
                        + qAbs(other.blue() - color.blue())
                    < 60) {
                    return true;
                }
            }
        }
        return false;
    }

    // It makes no list of all items: a test searches in every turn of the event loop, and under
    // valgrind that left the rest of the loop no time.
    static QQuickItem *find(QQuickItem *in, const QString &name)
    {
        if (in->objectName() == name) {
            return in;
        }
        const QList<QQuickItem *> children = in->childItems();
        for (QQuickItem *child : children) {
            if (QQuickItem *found = find(child, name)) {
                return found;
            }
        }
        return nullptr;
    }

    static const QQuickItem *ancestor(const QQuickItem *item, const char *className)
    {
        do {
            item = item->parentItem();
        } while (item && !item->inherits(className));
        return item;
    }

    static bool contains(const QRectF &outer, const QRectF &inner)
    {
        return outer.adjusted(-0.5, -0.5, 0.5, 0.5).contains(inner);
    }

    // The place of the letters of a text.
    static QRectF inkOf(const QQuickItem *text)
    {
        const double width = text->property("paintedWidth").toDouble();
        const double height = text->property("paintedHeight").toDouble();
        const int horizontal = text->property("effectiveHorizontalAlignment").toInt();
        const int vertical = text->property("verticalAlignment").toInt();
        const double right = text->width() - width, below = text->height() - height;
        return QRectF(horizontal & Qt::AlignHCenter     ? right / 2
                          : horizontal & Qt::AlignRight ? right
                                                        : 0,
                      vertical & Qt::AlignVCenter      ? below / 2
                          : vertical & Qt::AlignBottom ? below
                                                       : 0,
                      width, height);
    }

    static double luminance(const QColor &color)
    {
        const auto linear = [](double part) {
            return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF())
            + 0.0722 * linear(color.blueF());
    }

    QQuickView m_view;
};

#endif
