// SPDX-License-Identifier: MIT
// Runs cascade-sim as a child process with a scenario of the caller's own,
// and waits (bounded) until it reports that every socket is bound. Used by
// the system tests and the benchmarks; the includer defines CASCADE_SIM_PATH.
#pragma once

#include <QByteArray>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <csignal>

class SimProcess
{
public:
    ~SimProcess() { stop(); }

    // Writes scenarioJson to a file and starts the simulator on it, with
    // extra options before the file (e.g. "-v"). False (with the simulator's
    // output in error()) if it is not ready within 10 s.
    bool start(const QByteArray &scenarioJson, const QStringList &options = QStringList())
    {
        QFile f(m_dir.filePath(QStringLiteral("scenario.json")));
        if (!m_dir.isValid() || !f.open(QIODevice::WriteOnly) || f.write(scenarioJson) != scenarioJson.size()) {
            m_error = QStringLiteral("cannot write %1").arg(f.fileName());
            return false;
        }
        f.close();
        m_output.clear();
        m_process.setProcessChannelMode(QProcess::MergedChannels);
        m_process.start(QStringLiteral(CASCADE_SIM_PATH), options + QStringList{f.fileName()});
        if (!waitForOutput("cascade-sim ready", 10000)) { // not "already in use"
            m_error = QStringLiteral("simulator not ready: %1 %2")
                          .arg(m_process.errorString(), QString::fromLocal8Bit(m_output));
            return false;
        }
        return true;
    }

    // Waits (bounded) until the simulator's output holds text; true if it does.
    bool waitForOutput(const QByteArray &text, int timeoutMs)
    {
        const QDeadlineTimer deadline(timeoutMs);
        m_output += m_process.readAll();
        while (!m_output.contains(text)) {
            if (!m_process.waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime())))
                && (m_process.state() == QProcess::NotRunning || deadline.hasExpired()))
                return false;
            m_output += m_process.readAll();
        }
        return true;
    }

    // SIGTERM, then waits (bounded); the exit code, or -1 if it had to be killed.
    int stop()
    {
        if (m_process.state() != QProcess::NotRunning) {
            m_process.terminate();
            if (!m_process.waitForFinished(5000)) {
                m_process.kill();
                m_process.waitForFinished(5000);
                return -1;
            }
        }
        return m_process.exitStatus() == QProcess::NormalExit ? m_process.exitCode() : -1;
    }

    // SIGUSR1: the controllers marked "unplug_on_signal" go offline.
    bool unplug() { return m_process.state() == QProcess::Running && ::kill(pid_t(m_process.processId()), SIGUSR1) == 0; }

    qint64 pid() const { return m_process.processId(); }
    // Everything the simulator printed so far (stdout and stderr).
    QByteArray output()
    {
        m_output += m_process.readAll();
        return m_output;
    }
    QString error() const { return m_error; }

private:
    QTemporaryDir m_dir;
    QProcess m_process;
    QByteArray m_output;
    QString m_error;
};
