// SPDX-License-Identifier: MIT
#pragma once

#include "plugin/INotify.h"
#include "plugin/IUIPlugin.h"

#include <QLibrary>
#include <QPluginLoader>

#include <string>

/// The plug-in's file: loaded, checked as a dashboard checks it, and asked for its object.
///
/// The host does not link to the library, so that a missing or wrong file is a message and not a
/// program that does not start. On the main thread.
class PluginLibrary
{
public:
    /// Checks what can be checked before any of the file's code runs: that it is there, and has
    /// Qt metadata of the right identifier. Throws Failure.
    explicit PluginLibrary(const QString &file);

    /// Loads the file, compares its verification text and finds the controller's functions; none
    /// of those below fails after that. Throws Failure.
    void load();

    /// The plug-in's object with its three interfaces, all of them there. Throws Failure.
    struct Object
    {
        QObject *object;
        IBasePlugin *base;
        IUIPlugin *window;
        INotify *notify;
    };
    Object instance();

    /// The controller, once the plug-in has been initialised.
    QObject *controller() const;

    void destroyController() const;
    QString dataDirectory() const;
    bool sendSms(const std::string &number, const std::string &text) const;
    bool setReceipts(bool enable) const;
    void setSystemRoot(const QString &directory) const;

    /// The plug-in file of this installation or build.
    static QString defaultFile();

private:
    template <typename Function>
    Function resolve(const char *symbol) const;

    // CCollectionDataLogic's functions; the object is passed as a first argument.
    struct Controller
    {
        QObject *(*getInstance)();
        void (*destroy)();
        void (*getPath)(QObject *, std::wstring &);
        bool (*sendSms)(QObject *, std::string, std::string);
        bool (*setReceipts)(QObject *, bool);
        void (*setSystemRoot)(const char *);
    };

    QString m_file;
    Controller m_controller{};
    QPluginLoader m_loader;
    mutable QLibrary m_library;
};
