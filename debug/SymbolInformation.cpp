#include "debug/SymbolInformation.h"

SymbolInformation::~SymbolInformation() = default;
SegmentInformation::~SegmentInformation() = default;
SectionInformation::~SectionInformation() = default;

QString SymbolInformation::addressText() const
{
    return QStringLiteral("%1").arg(address(), 8, 16, QLatin1Char('0'));
}
