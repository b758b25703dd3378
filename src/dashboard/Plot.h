// SPDX-License-Identifier: MIT
#pragma once

#include <QDateTime>
#include <QList>
#include <QWidget>

/// The durations of reports and the access technology, over time. Its owner keeps it for as long as
/// a Plot shows it.
class PlotData : public QObject
{
    Q_OBJECT

public:
    struct Duration
    {
        QDateTime time;
        qint64 milliseconds;
    };
    struct Technology
    {
        QDateTime since;
        QString name; ///< empty: none
    };

    void addDuration(qint64 milliseconds);
    void setTechnology(const QString &name);

    /// Returns how many durations were added, of which durations() has the latest.
    int reportCount() const { return m_reportCount; }

    const QList<Duration> &durations() const { return m_durations; }
    const QList<Technology> &technologies() const { return m_technologies; }

Q_SIGNALS:
    void changed();

private:
    int m_reportCount = 0;
    QList<Duration> m_durations;
    QList<Technology> m_technologies;
};

/// Draws PlotData: a line of the durations above a band of the technologies. Screen readers get the
/// latest values as a description.
class Plot : public QWidget
{
    Q_OBJECT

public:
    /// The data must live longer than this object.
    explicit Plot(const PlotData &plotData);

    QSize sizeHint() const override { return {360, 220}; }
    QSize minimumSizeHint() const override { return {160, 120}; }

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void describe();
    void drawDurations(QPainter &painter, const QRectF &area) const;
    void drawTechnologies(QPainter &painter, const QRectF &area) const;
    double xOf(const QDateTime &time, const QRectF &area) const;

    const PlotData &m_data;
    QDateTime m_from;
    QDateTime m_to;
};
