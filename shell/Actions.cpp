#include "shell/Actions.h"
#include "shell/VarnelAction.h"
#include <algorithm>

namespace {

Actions *current = nullptr;

} // namespace

Actions::Actions(QObject *parent) : QObject(parent)
{
    current = this;
}

Actions::~Actions()
{
    if (current == this)
        current = nullptr;
}

Actions *Actions::instance()
{
    return current;
}

std::vector<VarnelAction *> Actions::sorted() const
{
    std::vector<VarnelAction *> result;
    result.reserve(size_t(m_actions.size()));
    for (auto it = m_actions.cbegin(); it != m_actions.cend(); ++it)
        result.push_back(it.value());
    std::sort(result.begin(), result.end(), [](const VarnelAction *a, const VarnelAction *b) {
        return a->objectName() < b->objectName();
    });
    return result;
}

void Actions::insert(VarnelAction *action)
{
    m_actions.insert(action->objectName(), action);
}

void Actions::remove(VarnelAction *action)
{
    const auto it = m_actions.constFind(action->objectName());
    if (it != m_actions.cend() && it.value() == action)
        m_actions.erase(it);
}
