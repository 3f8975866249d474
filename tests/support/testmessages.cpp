#include "testmessages.h"

#include <QMutex>
#include <QMutexLocker>
#include <QtGlobal>

namespace TestMessages {

namespace {

QtMessageHandler g_previous = nullptr;
bool g_installed = false;
QStringList g_collected;
QMutex g_mutex;

bool isFormFault(QtMsgType type, const QString &msg)
{
    return type == QtWarningMsg && msg.contains(QLatin1String("connectSlotsByName"));
}

void handler(QtMsgType type, const QMessageLogContext &context, const QString &msg)
{
    if (isFormFault(type, msg)) {
        QMutexLocker lock(&g_mutex);
        g_collected << msg;
    }
    if (g_previous)
        g_previous(type, context, msg);
}

} // namespace

void install()
{
    if (g_installed)
        return;
    g_installed = true;
    g_previous = qInstallMessageHandler(handler);
}

QStringList take()
{
    QMutexLocker lock(&g_mutex);
    QStringList out;
    out.swap(g_collected);
    return out;
}

} // namespace TestMessages
