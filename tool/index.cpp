// index: the indexer, the separate process in which the environment runs libclang.
//
//   index -q LIBRARY SHARED_MEMORY CALL_SEMAPHORE RETURN_SEMAPHORE PARENT_PID
//
// With -q it prints nothing of its own, and libclang does not print the diagnostics of the
// files it parses: its standard error is the environment's.
// It opens the shared area and the two semaphores the environment made, waits on the call
// semaphore, runs the request in the area, writes the reply over it and posts the return
// semaphore. Translation units stay between requests and are reparsed. When the environment
// dies the indexer removes the three names and ends; a crash of libclang ends it too, and the
// environment sees that as a failed request.
#include "clang/ClangEngine.h"
#include "clang/LibClang.h"
#include "clang/Protocol.h"
#include "clang/SharedMemory.h"
#include "foundation/HException.h"
#include <QElapsedTimer>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sys/mman.h>
#include <thread>
#include <time.h>
#include <unistd.h>

namespace {

// Units kept between requests: the files being edited, reparsed rather than parsed anew.
constexpr int keptUnits = 4;
// How often the watchdog looks for the environment: it must notice its death within 2 s.
constexpr long watchdogMilliseconds = 250;

struct Arguments {
    bool quiet = false;
    const char *library = nullptr;
    const char *sharedMemory = nullptr;
    const char *callSemaphore = nullptr;
    const char *returnSemaphore = nullptr;
    pid_t parent = 0;
};

bool parseArguments(int argc, char **argv, Arguments &arguments)
{
    int at = 1;
    if (at < argc && std::strcmp(argv[at], "-q") == 0) {
        arguments.quiet = true;
        ++at;
    }
    if (argc - at != 5)
        return false;
    arguments.library = argv[at];
    arguments.sharedMemory = argv[at + 1];
    arguments.callSemaphore = argv[at + 2];
    arguments.returnSemaphore = argv[at + 3];
    char *end = nullptr;
    errno = 0;
    const long parent = std::strtol(argv[at + 4], &end, 10);
    arguments.parent = pid_t(parent);
    return errno == 0 && end && *end == '\0' && parent > 0;
}

// The environment starts the indexer itself: once it has died the indexer has another parent,
// whatever process may have its number by then.
bool parentGone(pid_t parent)
{
    return ::getppid() != parent;
}

// Ends the indexer once the environment is gone, even while libclang works on a request: the
// names are the environment's, and nobody else would remove them.
void watchParent(const Arguments &arguments)
{
    const timespec delay{0, watchdogMilliseconds * 1000000L};
    for (;;) {
        ::nanosleep(&delay, nullptr);
        if (parentGone(arguments.parent)) {
            ::shm_unlink(arguments.sharedMemory);
            ::sem_unlink(arguments.callSemaphore);
            ::sem_unlink(arguments.returnSemaphore);
            ::_exit(0);
        }
    }
}

ClangReply failed(const QString &reason)
{
    ClangReply reply;
    reply.status = ClangStatus::Failed;
    reply.error = reason;
    return reply;
}

void note(const Arguments &arguments, const QString &text)
{
    if (!arguments.quiet)
        std::fprintf(stderr, "index: %s\n", text.toLocal8Bit().constData());
}

// Answers one request in the area.
void answer(const Arguments &arguments, SharedMemory &area, ClangEngine *engine,
            const QString &loadError)
{
    QElapsedTimer clock;
    clock.start();
    qint32 header;
    std::memcpy(&header, area.data(), 4);
    ClangCommand command =
        header >= 0 && header < clangCommandCount ? ClangCommand(header) : ClangCommand::Completion;
    ClangReply reply;
    try {
        const ClangRequest request = readRequest(area.data(), area.size());
        command = request.command;
        reply = engine ? engine->run(request) : failed(loadError);
        note(arguments,
             QStringLiteral("command %1 on %2: %3 in %4 ms")
                 .arg(int(command))
                 .arg(request.mainPath,
                      reply.status == ClangStatus::Valid ? QStringLiteral("answered") : reply.error)
                 .arg(clock.elapsed()));
    } catch (const HException &error) {
        reply = failed(error.message());
    }
    writeReply(command, reply, area.data(), area.size());
}

} // namespace

int main(int argc, char **argv)
{
    Arguments arguments;
    if (!parseArguments(argc, argv, arguments)) {
        std::fprintf(stderr, "usage: index [-q] LIBRARY SHARED_MEMORY CALL_SEMAPHORE "
                             "RETURN_SEMAPHORE PARENT_PID\n");
        return 2;
    }
    std::signal(SIGPIPE, SIG_IGN);
    SharedMemory area;
    try {
        area.open(arguments.sharedMemory, quint32(sharedAreaSize));
    } catch (const HException &error) {
        std::fprintf(stderr, "index: %s\n", error.message().toLocal8Bit().constData());
        return 1;
    }
    sem_t *call = openSemaphore(arguments.callSemaphore, false);
    sem_t *done = openSemaphore(arguments.returnSemaphore, false);
    if (call == SEM_FAILED || done == SEM_FAILED) {
        std::fprintf(stderr, "index: cannot open the semaphores %s and %s: %s\n",
                     arguments.callSemaphore, arguments.returnSemaphore, std::strerror(errno));
        return 1;
    }
    std::thread(watchParent, arguments).detach();

    // A library that will not load fails every request with the reason, rather than ending
    // the indexer: the environment then shows the reason instead of a vanished indexer.
    std::unique_ptr<LibClang> library;
    std::unique_ptr<ClangEngine> engine;
    QString loadError;
    try {
        library = std::make_unique<LibClang>(QString::fromLocal8Bit(arguments.library));
        engine = std::make_unique<ClangEngine>(*library, keptUnits, !arguments.quiet);
    } catch (const HException &error) {
        loadError = error.message();
        engine.reset();
    }
    for (;;) {
        if (::sem_wait(call) != 0) {
            if (errno == EINTR)
                continue;
            std::fprintf(stderr, "index: waiting for a request failed: %s\n", std::strerror(errno));
            return 1;
        }
        answer(arguments, area, engine.get(), loadError);
        ::sem_post(done);
    }
}
