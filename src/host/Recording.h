// SPDX-License-Identifier: MIT
#pragma once

#include "EventObserver.h"

#include <QFile>

/// Writes events to a recording: JSON lines that docs/json.md describes.
///
/// For the main thread.
class RecordingWriter
{
public:
    /// Creates the file. Throws Failure if that is not possible or if the file exists.
    explicit RecordingWriter(const QString &file);

    /// Removes the file if begin() was not called.
    ~RecordingWriter();

    /// Writes the header; `source` names the card.
    void begin(const QString &source);

    /// Writes an event. If that fails, prints one message and ends the recording behind the last
    /// line that is complete.
    void add(const HandledEvent &event);

    /// Writes the last line.
    void end();

    /// Returns whether all lines could be written.
    bool isComplete() const { return m_complete; }

private:
    void write(const QJsonObject &line);

    QFile m_file;
    CardFields m_card; // of the last event
    qint64 m_size = 0; // of the complete lines
    bool m_complete = true;
};

/// An event of a recording and its line, from 1.
struct RecordedEvent
{
    HandledEvent event;
    int line = 0;
};

struct Recording
{
    QString source;
    QList<RecordedEvent> events; ///< in the order of their arrival; the first one is the start
};

/// Reads a recording. Throws Failure if it is incomplete, newer or something else.
Recording readRecording(const QString &file);
