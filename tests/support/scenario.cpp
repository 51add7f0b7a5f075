#include "support/scenario.h"

#include <QCoreApplication>

Scenario::Scenario(Outcome *outcome, QObject *parent)
    : QObject(parent)
{
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this, outcome] {
        *outcome = { m_next == m_steps.size(), m_failures, current() };
    });
    connect(&m_timer, &QTimer::timeout, this, &Scenario::poll);
    m_stepClock.setSingleShot(true);
    connect(&m_stepClock, &QTimer::timeout, this, [this] {
        m_failures << QStringLiteral("timed out waiting for: %1").arg(current());
        m_timer.stop();
        QCoreApplication::exit(99); // leaves every running event loop, modal ones too
    });
}

Scenario &Scenario::waitFor(const QString &what, std::function<bool()> condition, std::function<void()> action)
{
    m_steps.append({ what, std::move(condition), std::move(action) });
    return *this;
}

void Scenario::start(int stepTimeoutMs)
{
    m_stepClock.start(stepTimeoutMs);
    m_timer.start(10);
}

void Scenario::expect(bool condition, const QString &what)
{
    if (!condition)
        m_failures << what;
}

void Scenario::poll()
{
    if (m_next == m_steps.size()) {
        m_timer.stop();
        m_stepClock.stop();
        return;
    }
    const Step &step = m_steps.at(m_next);
    if (!step.condition())
        return;
    ++m_next;
    m_stepClock.start();
    if (step.action)
        QTimer::singleShot(0, this, step.action);
}
