// SPDX-License-Identifier: MIT
#pragma once

#include "kestrun/KestrunHostTable.h"
#include "plugin/INotify.h"
#include "plugin/IUIPlugin.h"

#include <QLibrary>
#include <QPluginLoader>

/// Loads the plug-in's file, checks it as a dashboard does, and gives access to its object and its
/// functions.
///
/// The host does not link to the library, so that the program starts and prints a message if the
/// file is missing or wrong. For the thread of the Dashboard.
class PluginLibrary
{
public:
    /// Checks, without running the code of the file, that it exists and that its Qt metadata have
    /// the right identifier. Throws Failure.
    explicit PluginLibrary(const QString &file);

    /// Loads the file and compares its verification text. Throws Failure.
    void load();

    /// The plug-in's object with its three interfaces.
    struct Object
    {
        QObject *object;
        IBasePlugin *base;
        IUIPlugin *window;
        INotify *notify;
    };
    /// Returns the object with all three interfaces. Throws Failure.
    Object instance();

    /// Returns the plug-in's table, or null if the plug-in is an older one, which has none.
    const KestrunHostTable *table() const { return m_table; }

    /// Returns the plug-in's table. `purpose` completes the sentence "the plug-in cannot ..." for
    /// the Failure that is thrown if there is none.
    const KestrunHostTable &requireTable(const QString &purpose) const;

    /// Moves the plug-in's fixed locations. Throws Failure if the plug-in cannot do that.
    void setSystemRoot(const QString &directory) const;

    /// Returns the plug-in file of this installation or build.
    static QString defaultFile();

private:
    template <typename Function>
    Function resolve(const char *symbol) const;

    QString m_file;
    const KestrunHostTable *m_table = nullptr;
    KestrunSetSystemRootFunction m_setSystemRoot = nullptr;
    QPluginLoader m_loader;
    mutable QLibrary m_library;
};
