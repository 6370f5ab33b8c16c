// SPDX-License-Identifier: MIT
#include "timeline.h"

#include "console.h"

#include <QtCore/QXmlStreamWriter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

// Lengths are in pixels.
const double pageWidth = 1600;
const double plotLeft = 220;
const double plotRight = pageWidth - 20;
const double rowHeight = 15;
const double barHeight = 12;
const double tickHeight = 10;
const double narrowestBar = 1.5;
const double breakWidth = 34;
const double letterWidth = 6.1; // of the small text, on average
const int mostRows = 8;         // of a lane

const std::size_t callsOfStrip = 150;
const int mostBreaks = 10; // of a strip

// The colours of the daemons, in their order. They differ in brightness, too.
const char *const colours[] = { "#e08a00", "#2b6cb0", "#4b9b5f" };
const char failedColour[] = "#c81e1e";

QString number(double value) { return QString::number(value, 'f', 1); }

QString milliseconds(qint64 nanoseconds)
{
    return QString::number(double(nanoseconds) / 1e6, 'f', 2) + QLatin1String(" ms");
}

QString length(qint64 nanoseconds)
{
    return nanoseconds >= 1000000000
        ? QString::number(double(nanoseconds) / 1e9, 'g', 3) + QLatin1String(" s")
        : QString::number(double(nanoseconds) / 1e6, 'g', 3) + QLatin1String(" ms");
}

// XML cannot represent some characters.
QString writable(const QString &text)
{
    QString result = Console::printable(text);
    for (QChar &character : result) {
        if (character.isNonCharacter() || character.isSurrogate()) {
            character = QChar::ReplacementCharacter;
        }
    }
    return result;
}

QString cut(const QString &text, int width)
{
    return text.size() <= width ? text : text.left(width - 3) + QLatin1String("...");
}

// A part of the time with its own axis, over the whole width. Longer bars continue in the next strip.
// A long time without a call is drawn short.
class Strip
{
public:
    Strip(const Timeline &timeline, qint64 from, qint64 to);

    double x(qint64 time) const;

    const qint64 begin;
    const qint64 end;
    std::vector<const Timeline::Bar *> bars; ///< by their begin
    std::vector<const Timeline::Tick *> ticks;
    std::vector<std::pair<qint64, qint64>> breaks; ///< by their begin
    double perNanosecond = 0;                      ///< pixels
};

Strip::Strip(const Timeline &timeline, qint64 from, qint64 to)
    : begin(from), end(std::max(to, from + 1000))
{
    std::vector<std::pair<qint64, qint64>> active;
    for (const Timeline::Bar &bar : timeline.bars) {
        if (bar.begin < end && (bar.begin >= begin || bar.end > begin)) {
            bars.push_back(&bar);
            active.emplace_back(std::max(bar.begin, begin), std::min(bar.end, end));
        }
    }
    for (const Timeline::Tick &tick : timeline.ticks) {
        if (tick.at >= begin && tick.at < end) {
            ticks.push_back(&tick);
            active.emplace_back(tick.at, tick.at);
        }
    }
    std::sort(active.begin(), active.end());
    std::vector<std::pair<qint64, qint64>> gaps;
    qint64 until = begin;
    for (const auto &interval : active) {
        if (interval.first > until) {
            gaps.emplace_back(until, interval.first);
        }
        until = std::max(until, interval.second);
    }
    std::sort(gaps.begin(), gaps.end(), [](const auto &one, const auto &other) {
        return one.second - one.first > other.second - other.first;
    });
    double left = double(end - begin);
    for (const auto &gap : gaps) {
        const double size = double(gap.second - gap.first);
        if (size < left / mostBreaks || int(breaks.size()) == mostBreaks) {
            break;
        }
        // A part of the pause stays on both sides, so that no bar touches the break.
        const qint64 margin = qint64(size / 50);
        breaks.emplace_back(gap.first + margin, gap.second - margin);
        left -= size - 2 * double(margin);
    }
    std::sort(breaks.begin(), breaks.end());
    perNanosecond = (plotRight - plotLeft - breakWidth * double(breaks.size())) / left;
}

double Strip::x(qint64 time) const
{
    double result = plotLeft;
    qint64 from = begin;
    for (const auto &each : breaks) {
        if (time < each.first) {
            break;
        }
        result += double(each.first - from) * perNanosecond;
        if (time < each.second) {
            return result + breakWidth / 2;
        }
        result += breakWidth;
        from = each.second;
    }
    return result + double(time - from) * perNanosecond;
}

class Picture
{
public:
    explicit Picture(const Timeline &timeline) : m_timeline(timeline), m_xml(&m_body)
    {
        m_xml.setAutoFormatting(true);
        m_xml.setAutoFormattingIndent(0);
    }

    QByteArray draw();

private:
    using Attributes = std::vector<std::pair<const char *, QString>>;

    void element(const char *name, const Attributes &attributes, const QString &title = QString());
    void text(double x, double y, const QString &text, const char *style);
    void line(double x1, double y1, double x2, double y2, const char *style);
    void drawHead();
    void drawStrip(const Strip &strip);
    void drawAxis(const Strip &strip, double bottom);
    void drawTicks(const Strip &strip);
    void drawLane(const Strip &strip, int lane);
    void drawBar(const Strip &strip, const Timeline::Bar &bar, int row);
    std::vector<Strip> strips() const;
    QString clock(qint64 time, qint64 step) const;

    const Timeline &m_timeline;
    QString m_body;
    QXmlStreamWriter m_xml;
    double m_y = 0;
};

void Picture::element(const char *name, const Attributes &attributes, const QString &title)
{
    m_xml.writeStartElement(QLatin1String(name));
    for (const auto &attribute : attributes) {
        m_xml.writeAttribute(QLatin1String(attribute.first), attribute.second);
    }
    if (!title.isEmpty()) {
        m_xml.writeTextElement(QStringLiteral("title"), writable(title));
    }
    m_xml.writeEndElement();
}

void Picture::text(double x, double y, const QString &text, const char *style)
{
    m_xml.writeStartElement(QStringLiteral("text"));
    m_xml.writeAttribute(QStringLiteral("x"), number(x));
    m_xml.writeAttribute(QStringLiteral("y"), number(y));
    m_xml.writeAttribute(QStringLiteral("class"), QLatin1String(style));
    m_xml.writeCharacters(writable(text));
    m_xml.writeEndElement();
}

void Picture::line(double x1, double y1, double x2, double y2, const char *style)
{
    element("line",
            { { "x1", number(x1) },
              { "y1", number(y1) },
              { "x2", number(x2) },
              { "y2", number(y2) },
              { "class", QLatin1String(style) } });
}

// The time with as many digits as the step between two times needs.
QString Picture::clock(qint64 time, qint64 step) const
{
    const qint64 second = 1000000000;
    const qint64 absolute = m_timeline.start.toMSecsSinceEpoch() % 1000 * 1000000 + time;
    const QString whole = m_timeline.start.addMSecs(time / 1000000)
                              .toString(QStringLiteral("HH:mm:ss"));
    int digits = 0;
    for (qint64 unit = second; unit > step && digits < 6; unit /= 10) {
        ++digits;
    }
    const QString fraction = QString::number(absolute % second)
                                 .rightJustified(9, QLatin1Char('0'))
                                 .left(digits);
    return digits == 0 ? whole : whole + QLatin1Char('.') + fraction;
}

std::vector<Strip> Picture::strips() const
{
    std::vector<qint64> edges;
    for (size_t i = 0; i < m_timeline.bars.size(); i += callsOfStrip) {
        edges.push_back(m_timeline.bars[i].begin);
    }
    qint64 last = 0;
    for (const Timeline::Bar &bar : m_timeline.bars) {
        last = std::max(last, bar.end);
    }
    for (const Timeline::Tick &tick : m_timeline.ticks) {
        last = std::max(last, tick.at);
        if (edges.empty()) {
            edges.push_back(tick.at);
        }
        edges.front() = std::min(edges.front(), tick.at);
    }
    std::vector<Strip> result;
    for (size_t i = 0; i < edges.size(); ++i) {
        const bool isLast = i + 1 == edges.size();
        if (isLast || edges[i + 1] > edges[i]) {
            result.emplace_back(m_timeline, edges[i], isLast ? last + 1 : edges[i + 1]);
        }
    }
    return result;
}

void Picture::drawHead()
{
    text(20, 32,
         QStringLiteral("Calls of the printer's daemons, %1")
             .arg(m_timeline.start.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"))),
         "title");
    double x = 20;
    m_y = 58;
    const auto legend = [&](const QString &words) {
        text(x + 18, m_y, words, "plain");
        x += 40 + letterWidth * 1.05 * double(words.size());
    };
    const auto box = [&](const char *style) {
        element("rect",
                { { "x", number(x) },
                  { "y", number(m_y - 10) },
                  { "width", number(12) },
                  { "height", number(barHeight) },
                  { "class", QLatin1String(style) } });
    };
    for (int i = 0; i < m_timeline.daemons.size(); ++i) {
        box(QStringLiteral("d%1").arg(i).toLatin1().constData());
        legend(m_timeline.daemons.at(i));
    }
    box("failed");
    legend(QStringLiteral("lower edge: error reply, or the daemon left"));
    box("open");
    legend(QStringLiteral("no reply"));
    line(x + 6, m_y - 10, x + 6, m_y, "mark");
    legend(QStringLiteral("event"));
    text(x + 18, m_y,
         QStringLiteral(
             "Point at a bar or an event for its name. Each strip has a scale of its own; "
             "a bar at its end goes on in the next."),
         "faint");
    for (const QString &note : m_timeline.notes) {
        m_y += 18;
        text(20, m_y, note, "plain");
    }
    m_y += 30;
}

void Picture::drawAxis(const Strip &strip, double bottom)
{
    const double labelY = m_y - 5;
    // The steps are 1, 2 or 5, followed by zeros.
    const double least = 110 / strip.perNanosecond;
    qint64 step = 1;
    for (int i = 0; double(step) < least; ++i) {
        step = qint64(std::llround(std::pow(10.0, i / 3) * (i % 3 == 0 ? 1 : i % 3 == 1 ? 2 : 5)));
    }
    double free = plotLeft;
    const auto label = [&](qint64 time, qint64 exactness) {
        const QString words = clock(time, exactness);
        const double x = strip.x(time);
        const double width = letterWidth * double(words.size()) + 8;
        if (x >= free && x + width < plotRight) {
            line(x, m_y - 3, x, bottom, "grid");
            text(x + 3, labelY, words, "small");
            free = x + width;
        }
    };
    // The begin of a strip, and the end of each break, are labelled with their time.
    label(strip.begin, step / 10);
    qint64 from = strip.begin;
    // The other labels are round times of the day.
    const qint64 midnight = m_timeline.start.toMSecsSinceEpoch() % (24 * 3600 * 1000) * -1000000;
    for (size_t i = 0; i <= strip.breaks.size(); ++i) {
        const bool isLast = i == strip.breaks.size();
        const qint64 until = isLast ? strip.end : strip.breaks[i].first;
        for (qint64 time = (from - midnight) / step * step + midnight + step; time < until;
             time += step) {
            label(time, step);
        }
        if (!isLast) {
            const auto &gap = strip.breaks[i];
            const double middle = strip.x(gap.first);
            element("rect",
                    { { "x", number(middle - breakWidth / 2 + 4) },
                      { "y", number(m_y) },
                      { "width", number(breakWidth - 8) },
                      { "height", number(bottom - m_y) },
                      { "class", QStringLiteral("gap") } },
                    QStringLiteral("no calls for ") + length(gap.second - gap.first));
            text(middle, bottom + 11, length(gap.second - gap.first), "gapText");
            from = gap.second;
            label(from, step / 10);
        }
    }
}

void Picture::drawTicks(const Strip &strip)
{
    if (strip.ticks.empty()) {
        return;
    }
    text(20, m_y + barHeight - 2, QStringLiteral("events"), "faint");
    for (const Timeline::Tick *tick : strip.ticks) {
        const double x = strip.x(tick->at);
        element(
            "line",
            { { "x1", number(x) },
              { "y1", number(m_y + 1) },
              { "x2", number(x) },
              { "y2", number(m_y + 1 + tickHeight) },
              { "class", QStringLiteral("tick t%1").arg(tick->daemon) } },
            QStringLiteral("%1 %2, %3")
                .arg(m_timeline.daemons.value(tick->daemon), tick->name, clock(tick->at, 1000000)));
    }
    m_y += rowHeight + 2;
}

void Picture::drawBar(const Strip &strip, const Timeline::Bar &bar, int row)
{
    const double left = strip.x(std::max(bar.begin, strip.begin));
    const double right = strip.x(std::min(bar.end, strip.end));
    // A wide bar leaves a gap to the next one.
    const double width = std::max(right - left - (right - left > 4 ? 1 : 0), narrowestBar);
    const double top = m_y + row * rowHeight + 1;
    const QString title = QStringLiteral("%1 %2, %3, %4, %5")
                              .arg(m_timeline.daemons.value(bar.daemon), bar.name,
                                   milliseconds(bar.end - bar.begin),
                                   m_timeline.lanes.value(bar.lane), clock(bar.begin, 1000000))
        + (bar.note.isEmpty() ? QString() : QLatin1String(", ") + bar.note);
    const QString look = QLatin1String(bar.look == Timeline::Open ? " open" : "");
    element("rect",
            { { "x", number(left) },
              { "y", number(top) },
              { "width", number(width) },
              { "height", number(barHeight) },
              { "class", QStringLiteral("call d%1%2").arg(bar.daemon).arg(look) } },
            title);
    if (bar.look == Timeline::Failed) {
        element("rect",
                { { "x", number(left) },
                  { "y", number(top + barHeight - 4) },
                  { "width", number(width) },
                  { "height", number(4) },
                  { "class", QStringLiteral("failed") } },
                title);
    }
    if (width > letterWidth * double(bar.name.size()) + 6) {
        text(left + 3, top + barHeight - 3, bar.name,
             bar.look == Timeline::Open ? "openName" : "name");
    }
}

void Picture::drawLane(const Strip &strip, int lane)
{
    // Calls that are pending at the same time are drawn below each other.
    std::vector<qint64> rowEnds;
    std::vector<std::pair<const Timeline::Bar *, int>> placed;
    for (const Timeline::Bar *bar : strip.bars) {
        if (bar->lane != lane) {
            continue;
        }
        int row = 0;
        while (row < int(rowEnds.size()) && rowEnds[size_t(row)] > bar->begin) {
            ++row;
        }
        row = std::min(row, mostRows - 1);
        if (row == int(rowEnds.size())) {
            rowEnds.push_back(0);
        }
        rowEnds[size_t(row)] = std::max(rowEnds[size_t(row)], bar->end);
        placed.emplace_back(bar, row);
    }
    if (placed.empty()) {
        return;
    }
    text(20, m_y + barHeight - 2, cut(m_timeline.lanes.value(lane), 30), "plain");
    for (const auto &each : placed) {
        drawBar(strip, *each.first, each.second);
    }
    m_y += double(rowEnds.size()) * rowHeight + 5;
    line(20, m_y - 3, plotRight, m_y - 3, "grid");
}

void Picture::drawStrip(const Strip &strip)
{
    // The grid is drawn below the bars, and is as high as they are.
    const double top = m_y;
    const QString before = m_body;
    m_body.clear();
    drawTicks(strip);
    for (int lane = 0; lane < m_timeline.lanes.size(); ++lane) {
        drawLane(strip, lane);
    }
    const QString content = m_body;
    const double bottom = m_y;
    m_body = before;
    m_y = top;
    drawAxis(strip, bottom - 3);
    m_body += content;
    m_y = bottom + (strip.breaks.empty() ? 28 : 40);
}

QByteArray Picture::draw()
{
    drawHead();
    for (const Strip &strip : strips()) {
        drawStrip(strip);
    }
    if (m_timeline.bars.empty() && m_timeline.ticks.empty()) {
        text(20, m_y, QStringLiteral("No calls."), "plain");
        m_y += 20;
    }
    QString style =
        QStringLiteral(
            "text{font-family:'DejaVu Sans',Verdana,Arial,sans-serif;fill:#222}"
            ".title{font-size:18px;font-weight:bold}.plain{font-size:12px}"
            ".faint{font-size:12px;fill:#777}.small{font-size:10px;fill:#555}"
            ".gapText{font-size:9px;fill:#777;text-anchor:middle}.name{font-size:10px;fill:#fff}"
            ".openName{font-size:10px}.grid{stroke:#ddd}.gap{fill:#eee}"
            ".call:hover{stroke:#000}.tick{stroke-width:1.5}.mark{stroke:#555;stroke-width:1.5}"
            ".failed{fill:%1}.open{fill-opacity:.3;stroke-dasharray:3 2;stroke:#555}")
            .arg(QLatin1String(failedColour));
    for (int i = 0; i < m_timeline.daemons.size(); ++i) {
        style += QStringLiteral(".d%1{fill:%2}.t%1{stroke:%2}")
                     .arg(QString::number(i), QLatin1String(colours[i % 3]));
    }
    const QString head = QStringLiteral(
                             "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                             "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%1\" height=\"%2\" "
                             "viewBox=\"0 0 %1 %2\">\n<style>%3</style>\n<rect width=\"100%\" "
                             "height=\"100%\" "
                             "fill=\"#fff\"/>")
                             .arg(number(pageWidth), number(m_y + 10), style);
    return (head + m_body + QLatin1String("\n</svg>\n")).toUtf8();
}

} // namespace

QByteArray Timeline::svg() const { return Picture(*this).draw(); }
