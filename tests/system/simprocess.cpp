#include "simprocess.h"

#include <QDeadlineTimer>
#include <QFile>

SimProcess::~SimProcess()
{
    stop();
}

bool SimProcess::start(const QByteArray &scenarioJson)
{
    QFile f(scenarioPath());
    if (!f.open(QIODevice::WriteOnly) || f.write(scenarioJson) != scenarioJson.size()) {
        m_error = QStringLiteral("cannot write %1").arg(scenarioPath());
        return false;
    }
    f.close();
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    m_process.start(QStringLiteral(CASCADE_SIM_PATH), {scenarioPath()});
    if (!m_process.waitForStarted(ReadyTimeoutMs)) {
        m_error = m_process.errorString();
        return false;
    }
    const QDeadlineTimer deadline(ReadyTimeoutMs);
    while (!m_output.contains("ready")) {
        if (m_process.state() != QProcess::Running || deadline.hasExpired()) {
            m_output += m_process.readAll();
            m_error = QStringLiteral("simulator not ready: %1").arg(QString::fromLocal8Bit(m_output));
            return false;
        }
        m_process.waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime())));
        m_output += m_process.readAll();
    }
    return true;
}

int SimProcess::stop()
{
    if (m_process.state() == QProcess::NotRunning)
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    m_process.terminate();
    if (!m_process.waitForFinished(5000)) {
        m_process.kill();
        m_process.waitForFinished(5000);
        return -1;
    }
    m_output += m_process.readAll();
    return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
}
