// Runs cascade-sim as a child process with a scenario of the test's own, and
// waits (bounded) until it reports that every socket is bound.
#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

class SimProcess
{
public:
    static constexpr int ReadyTimeoutMs = 10000;

    SimProcess() = default;
    ~SimProcess();

    // Writes scenarioJson to a file and starts the simulator on it. False
    // (with the simulator's output in error()) if it is not ready in time.
    bool start(const QByteArray &scenarioJson);
    // SIGTERM, then waits (bounded); the exit code, or -1 if it had to be killed.
    int stop();

    QString error() const { return m_error; }
    QByteArray output() const { return m_output; }
    QString scenarioPath() const { return m_dir.filePath(QStringLiteral("scenario.json")); }

private:
    QTemporaryDir m_dir;
    QProcess m_process;
    QByteArray m_output;
    QString m_error;
};
