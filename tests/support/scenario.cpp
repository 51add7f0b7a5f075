#include "support/scenario.h"

#include <QApplication>

Scenario::Scenario(Outcome *outcome, QObject *parent)
    : QObject(parent)
    , m_outcome(outcome)
{
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] {
        m_outcome->completed = completed();
        m_outcome->failures = m_failures;
        m_outcome->stoppedAt = completed() ? QString() : m_steps.value(m_next).what;
    });
    m_timer.setInterval(10);
    connect(&m_timer, &QTimer::timeout, this, &Scenario::poll);
    m_stepClock.setSingleShot(true);
    connect(&m_stepClock, &QTimer::timeout, this, [this] {
        m_failures << QStringLiteral("timed out waiting for: %1").arg(m_steps.value(m_next).what);
        m_timer.stop();
        QCoreApplication::exit(99); // leaves every running event loop, modal ones too
    });
}

Scenario &Scenario::waitFor(const QString &what, std::function<bool()> condition, std::function<void()> action)
{
    m_steps.append({ what, std::move(condition), std::move(action) });
    return *this;
}

Scenario &Scenario::then(const QString &what, std::function<void()> action)
{
    return waitFor(
        what, [] { return true; }, std::move(action));
}

void Scenario::start(int stepTimeoutMs)
{
    m_stepClock.setInterval(stepTimeoutMs);
    m_stepClock.start();
    m_timer.start();
}

void Scenario::expect(bool condition, const QString &what)
{
    if (!condition)
        m_failures << what;
}

void Scenario::poll()
{
    if (completed()) {
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
