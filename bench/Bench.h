// SPDX-License-Identifier: MIT
#pragma once

#include "kestrun/CollectionDataLogic.h"
#include "kestrun/KestrunHostTable.h"

#include <QDir>
#include <QElapsedTimer>

#include <cstdio>

/// Returns the time that the action takes.
template <typename Action>
double milliseconds(Action action)
{
    QElapsedTimer timer;
    timer.start();
    action();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// Prints a row of the table of results.
inline void row(const char *what, double value, const char *unit, const char *goal)
{
    std::printf("%-58s %9.3f %-4s %s\n", what, value, unit, goal);
}

/// Moves the plug-in's files below `root`, and returns their directory, which it creates.
inline QString moveTo(const QString &root)
{
    KestrunSetSystemRoot(root.toUtf8().constData());
    QDir::setCurrent(root);
    std::wstring path;
    CCollectionDataLogic::GetInstance()->GetPath(path);
    const QString directory = QString::fromStdWString(path);
    QDir().mkpath(directory);
    return directory;
}
