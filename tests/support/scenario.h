#pragma once

#include <QObject>
#include <QStringList>
#include <QTimer>
#include <functional>

// Drives the running program from its own event loop, step by step, as a user would: each step waits
// until its condition holds, then acts. Actions run from a fresh event so that one that opens a modal
// dialog does not stall the steps after it. A step that does not come true in time ends the program.
class Scenario : public QObject
{
    Q_OBJECT
public:
    // What a test reads once the program has ended and the scenario, a child of the application, is gone.
    struct Outcome
    {
        bool completed = false;
        QStringList failures;
        QString stoppedAt;
    };

    // The outcome is written when the application's event loop ends.
    explicit Scenario(Outcome *outcome, QObject *parent = nullptr);

    Scenario &waitFor(const QString &what, std::function<bool()> condition, std::function<void()> action = {});
    void start(int stepTimeoutMs = 30000);
    // Records a failed expectation; the test reports them all at the end.
    void expect(bool condition, const QString &what);

private:
    struct Step
    {
        QString what;
        std::function<bool()> condition;
        std::function<void()> action;
    };
    void poll();
    QString current() const { return m_next < m_steps.size() ? m_steps.at(m_next).what : QString(); }

    QList<Step> m_steps;
    int m_next = 0;
    QStringList m_failures;
    QTimer m_timer;
    QTimer m_stepClock;
};
