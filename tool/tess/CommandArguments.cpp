#include "tool/tess/Commands.h"
#include <cstdio>

namespace {

const TessOption *findOption(const TessCommand &command, QStringView text)
{
    for (const TessOption &option : command.options) {
        if (text == QLatin1String(option.name) || (option.alias && text == QLatin1String(option.alias)))
            return &option;
    }
    return nullptr;
}

// "-x", "--name": looks like an option. "-", "-1", "-(a)" are operands.
bool looksLikeOption(QStringView text)
{
    return text.size() > 1 && text[0] == u'-' && (text[1] == u'-' || text[1].isLetter());
}

QString optionLabel(const TessOption &option)
{
    QString label = QLatin1String(option.name);
    if (option.value)
        label += u' ' + QLatin1String(option.value);
    if (option.alias)
        label += QStringLiteral(", ") + QLatin1String(option.alias);
    return label;
}

void writeError(const QString &text)
{
    std::fflush(stdout);
    const QByteArray bytes = text.toLocal8Bit();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
}

} // namespace

std::optional<CommandArguments> CommandArguments::parse(const TessCommand &command,
                                                        const QStringList &arguments,
                                                        QString *error)
{
    CommandArguments parsed;
    parsed.m_command = &command;
    bool optionsEnded = false;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (optionsEnded || !looksLikeOption(argument)) {
            parsed.m_items.push_back({nullptr, argument});
            parsed.m_operands.append(argument);
            continue;
        }
        if (argument == QLatin1String("--")) {
            optionsEnded = true;
            parsed.m_dashesAt = parsed.m_operands.size();
            continue;
        }
        if (argument == QLatin1String("--help")) {
            parsed.m_helpRequested = true;
            continue;
        }
        const qsizetype equals = argument.startsWith(QLatin1String("--")) ? argument.indexOf(u'=') : -1;
        const QStringView name = equals < 0 ? QStringView(argument) : QStringView(argument).left(equals);
        const TessOption *option = findOption(command, name);
        if (!option) {
            *error = QStringLiteral("unknown option '%1'").arg(name);
            return std::nullopt;
        }
        if (!option->value) {
            if (equals >= 0) {
                *error = QStringLiteral("option '%1' takes no value").arg(name);
                return std::nullopt;
            }
            parsed.m_items.push_back({option, QString()});
            continue;
        }
        QString value;
        if (equals >= 0) {
            value = argument.mid(equals + 1);
        } else if (i + 1 < arguments.size()) {
            value = arguments.at(++i);
        } else {
            *error = QStringLiteral("option '%1' needs a value (%2)").arg(name, QLatin1String(option->value));
            return std::nullopt;
        }
        parsed.m_items.push_back({option, value});
    }
    return parsed;
}

bool CommandArguments::has(const char *name) const
{
    for (const Item &item : m_items) {
        if (item.option && qstrcmp(item.option->name, name) == 0)
            return true;
    }
    return false;
}

QString CommandArguments::value(const char *name, const QString &fallback) const
{
    for (auto it = m_items.rbegin(); it != m_items.rend(); ++it) {
        if (it->option && qstrcmp(it->option->name, name) == 0)
            return it->value;
    }
    return fallback;
}

QStringList CommandArguments::values(const char *name) const
{
    QStringList result;
    for (const Item &item : m_items) {
        if (item.option && qstrcmp(item.option->name, name) == 0)
            result.append(item.value);
    }
    return result;
}

std::optional<qint64> CommandArguments::integer(const char *name, qint64 minimum, qint64 maximum,
                                                qint64 fallback) const
{
    if (!has(name))
        return fallback;
    const QString text = value(name);
    bool ok = false;
    const qint64 number = text.toLongLong(&ok, 0);
    if (ok && number >= minimum && number <= maximum)
        return number;
    usageError(QStringLiteral("bad value '%1' for %2 (a number from %3 to %4)")
                   .arg(text, QLatin1String(name))
                   .arg(minimum)
                   .arg(maximum));
    return std::nullopt;
}

int CommandArguments::usageError(const QString &message) const
{
    writeError(QStringLiteral("tess %1: %2\n%3\n")
                   .arg(QLatin1String(m_command->name), message, commandUsage(*m_command)));
    return exitUsage;
}

int CommandArguments::fail(const QString &message) const
{
    writeError(QStringLiteral("tess %1: %2\n").arg(QLatin1String(m_command->name), message));
    return exitFailure;
}

QString commandUsage(const TessCommand &command)
{
    QString usage = QStringLiteral("usage: tess ") + QLatin1String(command.name);
    if (command.synopsis && *command.synopsis)
        usage += u' ' + QLatin1String(command.synopsis);
    return usage;
}

QString commandHelp(const TessCommand &command)
{
    QString text = commandUsage(command) + u'\n' + QLatin1String(command.summary) + u'\n';
    qsizetype width = 6;   // "--help"
    for (const TessOption &option : command.options)
        width = qMax(width, optionLabel(option).size());
    text += QStringLiteral("\noptions:\n");
    for (const TessOption &option : command.options)
        text += QStringLiteral("  %1  %2\n").arg(optionLabel(option), -int(width)).arg(QLatin1String(option.help));
    text += QStringLiteral("  %1  %2\n").arg(QStringLiteral("--help"), -int(width)).arg(QStringLiteral("show this help"));
    text += QStringLiteral("\nexample:\n  ") + QLatin1String(command.example) + u'\n';
    return text;
}
