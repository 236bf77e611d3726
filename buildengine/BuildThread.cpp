#include "buildengine/BuildThread.h"
#include <QFile>

BuildThread::BuildThread(BuildItem item, Builder &target, Idler &targetIdler, BuildState &state)
    : m_item(std::move(item)), m_target(target), m_targetIdler(targetIdler), m_state(state)
{
}

void BuildThread::plan(const Walk &walk)
{
    m_records.clear();
    m_cursor = 0;
    m_result = walk(*this, *this);
}

bool BuildThread::replay()
{
    while (m_cursor < m_records.size()) {
        const Record &record = m_records[m_cursor];
        switch (record.kind) {
        case RecordKind::BeginStep:
            m_target.beginStep(record.element, record.text, record.configuration, record.count);
            break;
        case RecordKind::EndStep:
            m_target.endStep(record.element, record.configuration);
            break;
        case RecordKind::StartCommand:
            if (m_state.failed || m_state.stopped) {
                m_targetIdler.endGroup(m_item.element, m_item.configuration);
                m_cursor = m_records.size();
                return true;
            }
            ++m_cursor;
            m_target.startCommand(record.workingDirectory, record.arguments, record.outputPath);
            return false;
        case RecordKind::FinishCommand:
            if (!m_target.finishCommand(record.element, record.outputPath))
                return false;
            if (m_state.failed || m_state.stopped) {
                // A failure abandons the rest of this slot's recording.
                m_targetIdler.endGroup(m_item.element, m_item.configuration);
                m_cursor = m_records.size();
                return true;
            }
            break;
        case RecordKind::BeginGroup:
            m_targetIdler.beginGroup(record.element, record.text, record.configuration,
                                     record.count);
            break;
        case RecordKind::Step:
            m_targetIdler.step(record.element, record.configuration);
            break;
        case RecordKind::EndGroup:
            m_targetIdler.endGroup(record.element, record.configuration);
            break;
        case RecordKind::AcceptOutput:
            if (!m_target.acceptOutput(record.outputPath)) {
                QFile::remove(record.outputPath);
                m_state.failed = true;
            }
            break;
        }
        ++m_cursor;
    }
    return true;
}

void BuildThread::beginStep(ProjectElement *element, const QString &title,
                            const QString &configuration, int count)
{
    m_stepElement = element;
    m_records.push_back({RecordKind::BeginStep, element, title, configuration, count});
}

void BuildThread::endStep(ProjectElement *element, const QString &configuration)
{
    m_records.push_back({RecordKind::EndStep, element, {}, configuration});
}

bool BuildThread::runCommand(const QString &workingDirectory, const QStringList &arguments,
                             const QString &outputPath)
{
    m_records.push_back({RecordKind::StartCommand, m_stepElement, {}, {}, 0, workingDirectory,
                         arguments, outputPath});
    m_records.push_back({RecordKind::FinishCommand, m_stepElement, {}, {}, 0, {}, {}, outputPath});
    return true;
}

bool BuildThread::acceptOutput(const QString &path)
{
    m_records.push_back({RecordKind::AcceptOutput, nullptr, {}, {}, 0, {}, {}, path});
    return true;
}

void BuildThread::beginGroup(ProjectElement *element, const QString &label,
                             const QString &configuration, int stepCount)
{
    m_records.push_back({RecordKind::BeginGroup, element, label, configuration, stepCount});
}

void BuildThread::step(ProjectElement *element, const QString &configuration)
{
    m_records.push_back({RecordKind::Step, element, {}, configuration});
}

void BuildThread::endGroup(ProjectElement *element, const QString &configuration)
{
    m_records.push_back({RecordKind::EndGroup, element, {}, configuration});
}
