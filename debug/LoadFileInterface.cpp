#include "debug/LoadFileInterface.h"
#include "debug/LoadFileLineReader.h"
#include "foundation/HException.h"

LoadFileInterface::~LoadFileInterface() = default;

StandardLoadFile::StandardLoadFile(QString path) : m_path(std::move(path))
{
}

StandardLoadFile::~StandardLoadFile() = default;

void StandardLoadFile::guard()
{
    if (m_readable && !m_loaded) {
        if (!readSections())
            throw HException(QStringLiteral("cannot read sections from load file"));
        m_loaded = true;
    }
}

quint32 StandardLoadFile::entryPoint()
{
    guard();
    return m_entryPoint;
}

void StandardLoadFile::setEntryPoint(quint32 address)
{
    m_entryPoint = address;
    m_hasEntryPoint = true;
}

bool StandardLoadFile::hasEntryPoint()
{
    guard();
    return m_hasEntryPoint;
}

void StandardLoadFile::reload()
{
    if (m_lineLimit > 0)
        readText(m_lineLimit);
}

int StandardLoadFile::sectionCount()
{
    guard();
    return m_sections.count();
}

LoadFileSectionInterface *StandardLoadFile::section(int index)
{
    guard();
    return m_sections.at(index);
}

void StandardLoadFile::readText(int lineLimit)
{
    m_lineLimit = lineLimit;
    LoadFileSections sections;
    const quint32 entryPoint = m_entryPoint;
    const bool hasEntryPoint = m_hasEntryPoint;
    m_hasEntryPoint = false;
    try {
        LoadFileLineReader lines(m_path, lineLimit);
        LoadFileSectionBuilder builder(sections, lines);
        parseText(lines, builder);
    } catch (...) {
        m_entryPoint = entryPoint;
        m_hasEntryPoint = hasEntryPoint;
        throw;
    }
    m_sections.swap(sections);
    m_readable = true;
    m_loaded = true;
}

void StandardLoadFile::parseText(LoadFileLineReader &, LoadFileSectionBuilder &)
{
}
