// SPDX-License-Identifier: MIT
#include "Plot.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace {

// More points than this are closer together than the pixels of most windows.
constexpr int kCapacity = 2'000;

template <typename Point>
void append(QList<Point> &points, const Point &point)
{
    points.append(point);
    if (points.size() > kCapacity)
        points.removeFirst();
}

// The smallest of 1, 2, 5, 10, 20, ... that is not below the value.
double roundUp(double value)
{
    const double power = std::pow(10, std::floor(std::log10(value)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= value)
            return factor * power;
    }
    return 10 * power;
}

} // namespace

void PlotData::addDuration(qint64 milliseconds)
{
    ++m_reportCount;
    append(m_durations, {QDateTime::currentDateTime(), milliseconds});
    Q_EMIT changed();
}

void PlotData::setTechnology(const QString &name)
{
    if (!m_technologies.isEmpty() && m_technologies.constLast().name == name)
        return;
    append(m_technologies, {QDateTime::currentDateTime(), name});
    Q_EMIT changed();
}

Plot::Plot(const PlotData &plotData) : m_data(plotData)
{
    setAccessibleName(tr("Report durations and technology over time"));
    describe();
    connect(&m_data, &PlotData::changed, this, [this] {
        describe();
        update();
    });
}

void Plot::describe()
{
    const auto &durations = m_data.durations();
    const auto &technologies = m_data.technologies();
    const QString technology = technologies.isEmpty() ? QString() : technologies.constLast().name;
    const QString text = durations.isEmpty()
        ? tr("No report was written yet.")
        : tr("%n report(s); the latest took %1 ms; technology: %2.", nullptr, m_data.reportCount())
              .arg(durations.constLast().milliseconds)
              .arg(technology.isEmpty() ? tr("none") : technology);
    setAccessibleDescription(text);
    setToolTip(text);
}

void Plot::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const double line = fontMetrics().height();
    QRectF area = QRectF(rect()).adjusted(line / 2, line / 2, -line / 2, -line / 2);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(area, Qt::AlignTop | Qt::AlignLeft, tr("Report duration, ms"));
    area.setTop(area.top() + 1.5 * line);
    if (m_data.durations().isEmpty()) {
        painter.drawText(area, Qt::AlignCenter | Qt::TextWordWrap,
                         tr("No report was written yet."));
        return;
    }
    m_to = QDateTime::currentDateTime();
    m_from = m_data.durations().constFirst().time;
    if (!m_data.technologies().isEmpty())
        m_from = std::min(m_from, m_data.technologies().constFirst().since);
    const QRectF times(area.left(), area.bottom() - line, area.width(), line);
    painter.drawText(times, Qt::AlignLeft, m_from.toString(QStringLiteral("HH:mm:ss")));
    painter.drawText(times, Qt::AlignRight, m_to.toString(QStringLiteral("HH:mm:ss")));
    const QRectF band(area.left(), times.top() - 2 * line, area.width(), 1.5 * line);
    drawTechnologies(painter, band);
    drawDurations(painter, QRectF(area.topLeft(), QPointF(area.right(), band.top() - line / 2)));
}

double Plot::xOf(const QDateTime &time, const QRectF &area) const
{
    const double span = std::max<double>(1, static_cast<double>(m_from.msecsTo(m_to)));
    return area.left() + area.width() * static_cast<double>(m_from.msecsTo(time)) / span;
}

void Plot::drawDurations(QPainter &painter, const QRectF &area) const
{
    qint64 longest = 1;
    for (const PlotData::Duration &duration : m_data.durations())
        longest = std::max(longest, duration.milliseconds);
    const double top = roundUp(static_cast<double>(longest));
    painter.setPen(palette().color(QPalette::Mid));
    for (const double part : {0.0, 0.5, 1.0}) {
        const double y = area.bottom() - part * area.height();
        painter.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
    }
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(area, Qt::AlignTop | Qt::AlignLeft, QString::number(top));

    QPolygonF points;
    for (const PlotData::Duration &duration : m_data.durations()) {
        points << QPointF(xOf(duration.time, area),
                          area.bottom()
                              - area.height() * static_cast<double>(duration.milliseconds) / top);
    }
    const QColor color = palette().color(QPalette::Highlight);
    painter.setPen(QPen(color, 2));
    painter.drawPolyline(points);
    painter.setBrush(color);
    for (const QPointF &point : points)
        painter.drawEllipse(point, 3, 3);
}

void Plot::drawTechnologies(QPainter &painter, const QRectF &area) const
{
    const auto &technologies = m_data.technologies();
    for (qsizetype index = 0; index < technologies.size(); ++index) {
        const bool last = index + 1 == technologies.size();
        QRectF part = area;
        part.setLeft(xOf(technologies.at(index).since, area));
        part.setRight(xOf(last ? m_to : technologies.at(index + 1).since, area));
        const QString &name = technologies.at(index).name;
        painter.setPen(palette().color(QPalette::Mid));
        painter.setBrush(name.isEmpty() ? Qt::NoBrush
                                        : QBrush(palette().color(QPalette::AlternateBase)));
        painter.drawRect(part);
        painter.setPen(palette().color(QPalette::Text));
        const QString text = name.isEmpty() ? tr("none") : name;
        painter.drawText(
            part.adjusted(2, 0, -2, 0), Qt::AlignCenter,
            fontMetrics().elidedText(text, Qt::ElideRight, static_cast<int>(part.width()) - 4));
    }
}
