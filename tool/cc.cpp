// The host compiler front end: one command line that compiles, assembles, archives or links,
// carried out by gcc, g++ or ar. It replaces itself with the tool (exec), so a build pays for one
// extra program start and nothing else. Options that only mean something to a target tool chain
// (print and scan support, output formats, placement, sections) are accepted and ignored.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

enum class Mode { Link, Compile, Archive };
enum class Language { Unset, C, Cpp, Assembly };

struct Request {
    Mode mode = Mode::Link;
    Language language = Language::Unset;
    bool verbose = false;
    bool exceptions = false;
    bool rtti = false;
    bool mapFile = false;
    std::string output;
    std::string dependencyFile;
    std::vector<std::string> inputs;
    std::vector<std::string> options;     // handed to the driver as they stand
    std::vector<std::string> libraries;   // of a link, in the order given, after the inputs
    bool libraryNameFollows = false;      // the last was "-Wl,-l" without a name
};

// Target options that take the next argument as their value.
constexpr std::string_view ignoredWithValue[] = {
    "-memorymap", "-memorymapmacros", "-placement", "-placementmacros", "-placementsegments",
    "-patch",
};

// Target options written in one word, by prefix.
constexpr std::string_view ignoredPrefixes[] = {
    "-printf=", "-scanf=", "-F", "-l-", "-d", "-K", "-R",
};

// Linker switches that change how the libraries after them are taken.
constexpr std::string_view librarySwitches[] = {
    "-Bstatic",    "-Bdynamic",       "-dn",          "-dy",           "-static",
    "-call_shared", "-non_shared",    "--whole-archive", "--no-whole-archive",
    "--as-needed", "--no-as-needed",  "--start-group", "--end-group", "-(", "-)",
    "--push-state", "--pop-state",    "--copy-dt-needed-entries", "--no-copy-dt-needed-entries",
};

bool startsWith(std::string_view text, std::string_view prefix)
{
    return text.substr(0, prefix.size()) == prefix;
}

bool endsWith(std::string_view text, std::string_view suffix)
{
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

// "libx.a", "libx.so", "libx.so.6", "libx.so.1.2"; not "x.o" or "lib.source".
bool isLibraryFile(std::string_view name)
{
    if (endsWith(name, ".a") || endsWith(name, ".so"))
        return true;
    const size_t so = name.rfind(".so.");
    if (so == std::string_view::npos || name.find('/', so) != std::string_view::npos)
        return false;
    const std::string_view version = name.substr(so + 4);
    return !version.empty()
        && version.find_first_not_of("0123456789.") == std::string_view::npos;
}

// One option of the linker itself (what follows "-Wl," up to the first comma).
bool isLibraryOption(std::string_view option)
{
    if (startsWith(option, "-l") || startsWith(option, "--library=") || option == "--library")
        return true;
    for (const std::string_view name : librarySwitches) {
        if (option == name)
            return true;
    }
    return false;
}

// An input, from the command line or a list file: a library or an object.
void addInput(const std::string &input, Request &request)
{
    if (startsWith(input, "-l") || isLibraryFile(input))
        request.libraries.push_back(input);
    else
        request.inputs.push_back(input);
}

// "-Wl,..." goes to the libraries when it names one or switches how they are taken.
void addLinkerOption(const std::string &argument, Request &request)
{
    const std::string_view option = std::string_view(argument).substr(4);
    const std::string_view first = option.substr(0, option.find(','));
    if (request.libraryNameFollows || isLibraryOption(first)) {
        // "-Wl,-l" alone takes its name from the next "-Wl,".
        request.libraryNameFollows = option == "-l" || option == "--library";
        request.libraries.push_back(argument);
    } else {
        request.options.push_back(argument);
    }
}

[[noreturn]] void fail(const std::string &message)
{
    std::fprintf(stderr, "cc: error: %s\n", message.c_str());
    std::exit(1);
}

bool readInputFiles(const std::string &path, Request &request)
{
    std::ifstream file(path);
    if (!file)
        return false;
    std::string line;
    while (std::getline(file, line)) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (!line.empty())
            addInput(line, request);
    }
    return true;
}

// The options with a value in the next argument, or glued on.
bool takeValue(const std::vector<std::string> &arguments, size_t &i, std::string_view name,
               std::string &value)
{
    const std::string &argument = arguments[i];
    if (!startsWith(argument, name))
        return false;
    if (argument.size() > name.size()) {
        value = argument.substr(name.size());
        return true;
    }
    if (i + 1 >= arguments.size())
        fail("option " + argument + " needs a value");
    value = arguments[++i];
    return true;
}

bool isIgnored(const std::vector<std::string> &arguments, size_t &i)
{
    const std::string &argument = arguments[i];
    for (const std::string_view option : ignoredWithValue) {
        if (argument == option) {
            ++i;
            return true;
        }
    }
    for (const std::string_view prefix : ignoredPrefixes) {
        if (startsWith(argument, prefix))
            return true;
    }
    return false;
}

// The options that translate into one or two of the driver's own.
bool translateSimple(const std::string &argument, Request &request)
{
    struct Simple {
        std::string_view option;
        void (*apply)(Request &);
    };
    static constexpr Simple table[] = {
        {"-v", [](Request &r) { r.verbose = true; }},
        {"-we", [](Request &r) { r.options.push_back("-Werror"); }},
        {"-w", [](Request &r) { r.options.push_back("-w"); }},
        {"-c", [](Request &r) { r.mode = Mode::Compile; }},
        {"-xc", [](Request &r) { r.language = Language::C; }},
        {"-xc++", [](Request &r) { r.language = Language::Cpp; }},
        {"-xasm", [](Request &r) { r.language = Language::Assembly; }},
        {"-g", [](Request &r) { r.options.push_back("-g"); }},
        {"-ar", [](Request &r) { r.mode = Mode::Archive; }},
        {"-M", [](Request &r) { r.mapFile = true; }},
        {"-exceptions", [](Request &r) { r.exceptions = true; }},
        {"-rtti", [](Request &r) { r.rtti = true; }},
    };
    for (const Simple &simple : table) {
        if (argument == simple.option) {
            simple.apply(request);
            return true;
        }
    }
    return false;
}

void parse(const std::vector<std::string> &arguments, Request &request)
{
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string &argument = arguments[i];
        std::string value;
        if (translateSimple(argument, request))
            continue;
        if (takeValue(arguments, i, "-inputfiles", value)) {
            if (!readInputFiles(value, request))
                fail("cannot read input list " + value);
        } else if (argument == "-depend") {
            if (i + 1 >= arguments.size())
                fail("option -depend needs a value");
            request.dependencyFile = arguments[++i];
        } else if (takeValue(arguments, i, "-o", value)) {
            request.output = value;
        } else if (takeValue(arguments, i, "-I", value)) {
            request.options.push_back("-I" + value);
        } else if (takeValue(arguments, i, "-D", value)) {
            request.options.push_back("-D" + value);
        } else if (takeValue(arguments, i, "-U", value)) {
            request.options.push_back("-U" + value);
        } else if (takeValue(arguments, i, "-T", value)) {
            request.options.push_back("-T");
            request.options.push_back(value);
        } else if (startsWith(argument, "-Wc,")) {
            request.options.push_back(argument.substr(4));
        } else if (startsWith(argument, "-Wl,")) {
            addLinkerOption(argument, request);
        } else if (startsWith(argument, "-Wa,")) {
            request.options.push_back(argument);
        } else if (takeValue(arguments, i, "-L", value)) {
            request.options.push_back("-L" + value);
        } else if (isIgnored(arguments, i)) {
        } else if (takeValue(arguments, i, "-l", value)) {
            request.libraries.push_back("-l" + value);
        } else if (!argument.empty() && argument[0] == '-') {
            fail("unknown option " + argument);
        } else {
            addInput(argument, request);
        }
    }
}

bool wantsCpp(const Request &request)
{
    return request.language == Language::Cpp || request.exceptions || request.rtti;
}

std::vector<std::string> compileLine(const Request &request)
{
    std::vector<std::string> line{wantsCpp(request) ? "g++" : "gcc", "-c"};
    static constexpr const char *languageNames[] = {nullptr, "c", "c++", "assembler-with-cpp"};
    if (const char *name = languageNames[int(request.language)]) {
        line.push_back("-x");
        line.push_back(name);
    }
    if (request.language == Language::Cpp) {
        line.push_back(request.exceptions ? "-fexceptions" : "-fno-exceptions");
        line.push_back(request.rtti ? "-frtti" : "-fno-rtti");
    }
    if (!request.dependencyFile.empty()) {
        line.insert(line.end(), {"-MMD", "-MF", request.dependencyFile});
    }
    line.insert(line.end(), request.options.begin(), request.options.end());
    line.insert(line.end(), request.inputs.begin(), request.inputs.end());
    line.insert(line.end(), request.libraries.begin(), request.libraries.end());
    line.insert(line.end(), {"-o", request.output});
    return line;
}

std::vector<std::string> linkLine(const Request &request)
{
    std::vector<std::string> line{wantsCpp(request) ? "g++" : "gcc"};
    line.insert(line.end(), request.options.begin(), request.options.end());
    line.insert(line.end(), request.inputs.begin(), request.inputs.end());
    line.insert(line.end(), request.libraries.begin(), request.libraries.end());
    if (request.mapFile) {
        const size_t dot = request.output.find_last_of('.');
        const size_t slash = request.output.find_last_of('/');
        const bool hasSuffix = dot != std::string::npos && (slash == std::string::npos || dot > slash);
        line.push_back("-Wl,-Map=" + (hasSuffix ? request.output.substr(0, dot) : request.output)
                       + ".map");
    }
    line.insert(line.end(), {"-o", request.output});
    return line;
}

std::vector<std::string> archiveLine(const Request &request)
{
    // ar adds to an existing archive; starting afresh drops members that left the project.
    if (::unlink(request.output.c_str()) != 0 && errno != ENOENT)
        fail("cannot replace " + request.output + ": " + std::strerror(errno));
    std::vector<std::string> line{"ar", "rcs", request.output};
    line.insert(line.end(), request.inputs.begin(), request.inputs.end());
    line.insert(line.end(), request.libraries.begin(), request.libraries.end());
    return line;
}

} // namespace

int main(int argc, char **argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    Request request;
    parse(arguments, request);
    if (request.output.empty())
        fail("no output file (-o)");
    if (request.inputs.empty() && request.libraries.empty())
        fail("no input files");
    std::vector<std::string> line;
    switch (request.mode) {
    case Mode::Compile:
        line = compileLine(request);
        break;
    case Mode::Link:
        line = linkLine(request);
        break;
    case Mode::Archive:
        line = archiveLine(request);
        break;
    }
    std::vector<char *> argvOut;
    for (std::string &argument : line)
        argvOut.push_back(argument.data());
    argvOut.push_back(nullptr);
    ::execvp(argvOut[0], argvOut.data());
    fail(std::string("cannot run ") + argvOut[0] + ": " + std::strerror(errno));
}
