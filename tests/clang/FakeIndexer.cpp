// A stand-in for the indexer program, started by ClangServer in the tests. It takes the real
// indexer's arguments and plays the role named where the library path would be:
//   hold         each request waits until the test has written the reply into the area and
//                put holdRelease into the header's last slot; then the return semaphore is posted
//   crash        dies on the first request
//   hang         takes requests and never answers
//   name[:MS]    answers every request, after MS milliseconds, with the shared memory's name as
//                the single string of an evaluation reply
#include "tests/clang/FakeIndexerRoles.h"
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <semaphore.h>
#include <signal.h>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <time.h>
#include <unistd.h>

namespace {

void sleepMilliseconds(long milliseconds)
{
    const timespec delay{milliseconds / 1000, (milliseconds % 1000) * 1000000L};
    nanosleep(&delay, nullptr);
}

void putInt(char *at, int value)
{
    std::memcpy(at, &value, 4);
}

// The names to remove should the test program die: as the real indexer does, the stand-in
// cleans up after an environment that cannot.
const char *sharedName = nullptr;
const char *callName = nullptr;
const char *returnName = nullptr;

void parentDied(int)
{
    shm_unlink(sharedName);
    sem_unlink(callName);
    sem_unlink(returnName);
    _exit(0);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 7 || std::strcmp(argv[1], "-q") != 0) {
        std::fprintf(stderr, "fake_indexer: expected -q LIBRARY SHM CALL RET PID\n");
        return 2;
    }
    sharedName = argv[3];
    callName = argv[4];
    returnName = argv[5];
    signal(SIGTERM, parentDied);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != std::atoi(argv[6]))
        parentDied(0);
    const std::string role = argv[2];
    const int fd = shm_open(argv[3], O_RDWR, 0);
    sem_t *call = sem_open(argv[4], 0);
    sem_t *done = sem_open(argv[5], 0);
    if (fd < 0 || call == SEM_FAILED || done == SEM_FAILED)
        return 3;
    void *mapped = mmap(nullptr, fakeIndexerMapped, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (mapped == MAP_FAILED)
        return 4;
    char *area = static_cast<char *>(mapped);
    for (;;) {
        if (sem_wait(call) != 0)
            continue;
        if (role == "crash")
            std::abort();
        if (role == "hang") {
            for (;;)
                pause();
        }
        if (role == "hold") {
            auto *release = reinterpret_cast<int *>(area + 20);
            while (__atomic_load_n(release, __ATOMIC_ACQUIRE) != holdRelease)
                sleepMilliseconds(1);
        } else if (role.rfind("name", 0) == 0) {
            if (role.size() > 5)
                sleepMilliseconds(std::atol(role.c_str() + 5));
            putInt(area, 0);
            putInt(area + 4, 1);
            std::strcpy(area + 24, argv[3]);
        }
        sem_post(done);
    }
}
