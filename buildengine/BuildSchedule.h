#pragma once
#include "buildengine/BuildFlags.h"
#include <memory>
#include <vector>

class BuildEngine;
class BuildThread;
class Builder;
class Idler;

// The stepping half of a build: runs the items of a plan over as many slots as there are
// threads, one builder per slot, starting an item as soon as a slot is free and waiting at
// barriers until every slot has ended. A project's pre-build command runs when its group
// opens, its post-build command when its last item ends.
class BuildSchedule {
public:
    BuildSchedule(BuildEngine &engine, const std::vector<BuildItem> &items, int threads,
                  const std::vector<Builder *> &builders, Idler &idler);
    ~BuildSchedule();

    // One of BuildEngine's results: UpToDate, Built, Failed or Stopped.
    [[nodiscard]] int run();

private:
    void openGroup(const BuildItem &item);
    // Waits until `item` could start and starts it; a barrier (or the last item) waits until
    // every slot has ended.
    void place(const BuildItem &item, bool last);
    void start(const BuildItem &item, size_t slot);
    void replayAll();
    void endSlot(size_t slot);
    [[nodiscard]] int occupied() const;
    [[nodiscard]] std::vector<Builder *> busyBuilders() const;
    [[nodiscard]] bool halted() const;
    [[nodiscard]] int result() const;

    BuildEngine &m_engine;
    const std::vector<BuildItem> &m_items;
    const std::vector<Builder *> &m_builders;
    Idler &m_idler;
    int m_threads;
    std::vector<std::unique_ptr<BuildThread>> m_slots;
    bool m_built = false;
    bool m_failedOnce = false;
};
