#include "agent/cvtwalk/program/TopProgram.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "agent/cvtwalk/top/TopPainter.h"

namespace cvtwalk {

double TopProgram::Now() const { return std::chrono::duration<double>(Clock::now() - m_ready).count(); }

void TopProgram::Run(const Interrupts& interrupts) {
    for (double next = 0;;) {
        const double now = Now();
        const bool due = now >= next;
        if (!m_model.IsPaused() && (due || m_model.WantsProcesses(now))) {
            Read();
        }
        if (due) {
            next = std::max(next + m_interval, now);  // missed readings are not made up for
        }
        Draw();
        // At least once a second, since the screen shows an age.
        if (!WaitUntil(std::min(next, now + 1), interrupts) || !TakeKeys()) {
            return;
        }
    }
}

void TopProgram::Read() {
    const double now = Now();
    const bool withProcesses = m_model.WantsProcesses(now);
    m_model.Take(m_probe.Read(now, withProcesses), now, withProcesses);
}

void TopProgram::Draw() {
    const TopPainter painter(m_model, Now());
    CellGrid grid(m_terminal.Width(), m_terminal.Height(), m_utf8);
    m_model.SetPage(painter.ProcessRows(grid.Width(), grid.Height()));
    painter.Paint(grid);
    m_terminal.Show(grid);
}

bool TopProgram::TakeKeys() {
    while (const auto key = m_terminal.Key()) {
        if (!m_model.Press(*key)) {
            return false;
        }
    }
    return true;
}

bool TopProgram::WaitUntil(double time, const Interrupts& interrupts) const {
    const double left = std::max(0.0, time - Now());
    std::array<struct pollfd, 2> events{{{STDIN_FILENO, POLLIN, 0}, {interrupts.Descriptor(), POLLIN, 0}}};
    ::poll(events.data(), events.size(), static_cast<int>(std::ceil(left * 1000)));  // a resize interrupts it too
    const bool hungUp = (events[0].revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
    return events[1].revents == 0 && !hungUp;
}

}  // namespace cvtwalk
