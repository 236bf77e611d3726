#include "buildengine/BuildSchedule.h"
#include "buildengine/BuildEngine.h"
#include "buildengine/BuildThread.h"
#include <algorithm>

BuildSchedule::BuildSchedule(BuildEngine &engine, const std::vector<BuildItem> &items,
                             int threads, const std::vector<Builder *> &builders, Idler &idler)
    : m_engine(engine), m_items(items), m_builders(builders), m_idler(idler),
      m_threads(qBound(1, qMin(threads, int(builders.size())), BuildEngine::maxThreads)),
      m_slots(size_t(m_threads))
{
}

BuildSchedule::~BuildSchedule() = default;

int BuildSchedule::run()
{
    for (size_t index = 0; index < m_items.size() && !halted(); ++index) {
        const BuildItem &item = m_items[index];
        if (item.flags & BuildFlag::ProjectHead)
            openGroup(item);
        else
            place(item, index + 1 == m_items.size());
    }
    m_idler.idle(0);
    while (occupied() > 0) {
        m_idler.idleWith(occupied(), busyBuilders());
        replayAll();
    }
    if (m_engine.m_state.failed) {
        for (Builder *builder : m_builders)
            builder->closeGroups();
    }
    m_idler.finished();
    return result();
}

void BuildSchedule::openGroup(const BuildItem &item)
{
    if (!(item.flags & BuildFlag::NoExecute))
        m_engine.runProjectCommand(item.element, item.configuration, *m_builders.front(), m_idler,
                                   false, item.flags & BuildFlag::Force, false);
    m_idler.beginGroup(item.element, item.label, item.configuration,
                       int(item.flags >> BuildFlag::StepShift));
}

void BuildSchedule::place(const BuildItem &item, bool last)
{
    const BuildState &state = m_engine.m_state;
    bool barrier = item.isBarrier();
    bool placed = false;
    for (;;) {
        const auto freeSlot = std::find(m_slots.begin(), m_slots.end(), nullptr);
        const bool canPlace = !barrier && !placed && freeSlot != m_slots.end() && !halted();
        m_idler.idleWith(occupied(), canPlace ? std::vector<Builder *>() : busyBuilders());
        if (canPlace) {
            start(item, size_t(freeSlot - m_slots.begin()));
            placed = true;
        } else {
            replayAll();
        }
        const int busy = occupied();
        if (busy == 0 || state.stopped || (state.failed && placed))
            break;
        if (busy == m_threads || barrier)
            continue;
        if (!last)
            break;
        barrier = true;
    }
}

// The item is planned at once; its tools start as the slot's recording is played.
void BuildSchedule::start(const BuildItem &item, size_t slot)
{
    Builder &target = *m_builders[slot];
    target.adoptGroup(item.element, item.configuration);
    m_slots[slot] = std::make_unique<BuildThread>(item, target, m_idler, m_engine.m_state);
    m_slots[slot]->plan([&](Builder &builder, Idler &planIdler) {
        return m_engine.buildElement(item.element, item.configuration, builder, planIdler,
                                     item.flags & BuildFlag::LowMask);
    });
}

void BuildSchedule::replayAll()
{
    for (size_t slot = 0; slot < m_slots.size(); ++slot) {
        if (m_slots[slot] && m_slots[slot]->replay())
            endSlot(slot);
    }
}

void BuildSchedule::endSlot(size_t slot)
{
    BuildThread &thread = *m_slots[slot];
    const BuildItem &item = thread.item();
    BuildState &state = m_engine.m_state;
    m_built = m_built || thread.result();
    if (item.flags & BuildFlag::ProjectTail) {
        m_idler.endGroup(item.element, item.configuration);
        if (!(item.flags & BuildFlag::NoExecute))
            m_engine.runProjectCommand(item.element, item.configuration, thread.target(),
                                       m_idler, true, item.flags & BuildFlag::Force,
                                       thread.result());
    }
    if (state.failed) {
        m_failedOnce = true;
        if (item.flags & BuildFlag::KeepGoing) {
            thread.target().addNote(QStringLiteral("Build failed - continuing because 'keep "
                                                   "going on error' has been enabled"));
            thread.target().endStep(nullptr, item.configuration);
            state.failed = false;
        }
    }
    m_slots[slot].reset();
}

int BuildSchedule::occupied() const
{
    return int(std::count_if(m_slots.begin(), m_slots.end(), [](const auto &slot) {
        return slot != nullptr;
    }));
}

std::vector<Builder *> BuildSchedule::busyBuilders() const
{
    std::vector<Builder *> busy;
    for (const auto &slot : m_slots) {
        if (slot)
            busy.push_back(&slot->target());
    }
    return busy;
}

bool BuildSchedule::halted() const
{
    return m_engine.m_state.failed || m_engine.m_state.stopped;
}

int BuildSchedule::result() const
{
    const BuildState &state = m_engine.m_state;
    if (state.stopped)
        return BuildEngine::Stopped;
    if (state.failed || m_failedOnce)
        return BuildEngine::Failed;
    return m_built ? BuildEngine::Built : BuildEngine::UpToDate;
}
