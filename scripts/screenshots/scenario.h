#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
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
    // What a test reads once the program has ended and the scenario, a child of the application, is gone;
    // written when the application's event loop ends.
    struct Outcome
    {
        bool completed = false;
        QStringList failures;
        QString stoppedAt;
    };

    explicit Scenario(Outcome *outcome, QObject *parent = nullptr)
        : QObject(parent)
    {
        connect(qApp, &QCoreApplication::aboutToQuit, this, [this, outcome] {
            *outcome = { m_next == m_steps.size(), m_failures, m_steps.value(m_next).what };
        });
        connect(&m_timer, &QTimer::timeout, this, &Scenario::poll);
    }

    Scenario &waitFor(const QString &what, std::function<bool()> condition, std::function<void()> action = {})
    {
        m_steps.append({ what, std::move(condition), std::move(action) });
        return *this;
    }

    void start(int stepTimeoutMs = 30000)
    {
        m_stepTimeoutMs = stepTimeoutMs;
        m_deadline.setRemainingTime(stepTimeoutMs);
        m_timer.start(10);
    }

    // Records a failed expectation; the test reports them all at the end.
    void expect(bool condition, const QString &what)
    {
        if (!condition)
            m_failures << what;
    }

private:
    struct Step
    {
        QString what;
        std::function<bool()> condition;
        std::function<void()> action;
    };

    void poll()
    {
        if (m_next == m_steps.size())
            return m_timer.stop();
        const Step step = m_steps.at(m_next);
        if (step.condition()) {
            ++m_next;
            m_deadline.setRemainingTime(m_stepTimeoutMs);
            if (step.action)
                QTimer::singleShot(0, this, step.action);
        } else if (m_deadline.hasExpired()) {
            m_failures << QStringLiteral("timed out waiting for: %1").arg(step.what);
            m_timer.stop();
            QCoreApplication::exit(99); // leaves every running event loop, modal ones too
        }
    }

    QList<Step> m_steps;
    int m_next = 0;
    QStringList m_failures;
    QTimer m_timer;
    QDeadlineTimer m_deadline;
    int m_stepTimeoutMs = 0;
};
