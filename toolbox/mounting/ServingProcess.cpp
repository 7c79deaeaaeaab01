#include "mounting/ServingProcess.h"

#include "bytes/File.h"
#include "mounting/MountTable.h"
#include "mounting/Requests.h"

#define FUSE_USE_VERSION 314
#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fuse3/fuse_lowlevel.h>
#include <optional>
#include <poll.h>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace mounting {

namespace fs = std::filesystem;

namespace {

/// How often the process looks whether its entry is still there.
constexpr std::chrono::milliseconds glance{2000};

bool isImage(int descriptor, const MountOptions& options)
{
    struct stat status { };
    return ::fstat(descriptor, &status) == 0 && status.st_dev == options.imageDevice
        && status.st_ino == options.imageInode;
}

std::vector<int> openDescriptors()
{
    std::vector<int> open;
    std::error_code fault;
    for (fs::directory_iterator entry("/proc/self/fd", fault), end; !fault && entry != end;
         entry.increment(fault)) {
        const std::string name = entry->path().filename().string();
        int descriptor = -1;
        std::from_chars(name.data(), name.data() + name.size(), descriptor);
        open.push_back(descriptor);
    }
    return open;
}

/// Locks and pipes of the process that asked would otherwise live as long as the volume.
void closeAllBut(int session, const MountOptions& options)
{
    for (const int descriptor : openDescriptors()) {
        const bool isKept = descriptor <= STDERR_FILENO || descriptor == session
            || descriptor == options.serviceDescriptor || isImage(descriptor, options);
        if (!isKept)
            ::close(descriptor);
    }
}

/// Whatever ended the terminal's programs must not take the volume along; SIGTERM may.
void leaveTheAskingProcess()
{
    ::setsid();
    for (const int signal : {SIGINT, SIGQUIT, SIGHUP, SIGPIPE})
        std::signal(signal, SIG_IGN);
    std::signal(SIGTERM, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::umask(0);
    if (::chdir("/") != 0)
        ::_exit(EXIT_FAILURE);
    ::prctl(PR_SET_NAME, "vandor-volume");
    const int nothing = ::open("/dev/null", O_RDWR);
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        ::dup2(nothing, standard);
    if (nothing > STDERR_FILENO)
        ::close(nothing);
}

/// Null where the host lets nobody mount. Never destroyed: it lives as long as the process.
fuse_session* mountedSession(ServedVolume& volume, const MountOptions& options)
{
    std::string settings = "default_permissions,subtype=hfsplus,fsname=" + options.device;
    if (options.readOnly)
        settings += ",ro";
    std::array<std::string, 3> words{"vandor", "-o", settings};
    std::array<char*, 4> arguments{words[0].data(), words[1].data(), words[2].data(), nullptr};
    fuse_args given = FUSE_ARGS_INIT(3, arguments.data());
    const fuse_lowlevel_ops& handlers = requestHandlers();
    fuse_session* session = fuse_session_new(&given, &handlers, sizeof handlers, &volume);
    fuse_opt_free_args(&given);
    if (session == nullptr || fuse_session_mount(session, options.folder.c_str()) != 0)
        return nullptr;
    return session;
}

bool hasName(int descriptor)
{
    struct stat status { };
    return ::fstat(descriptor, &status) == 0 && status.st_nlink > 0;
}

void serve(fuse_session& session, int serviceDescriptor)
{
    using Clock = std::chrono::steady_clock;
    fuse_buf buffer{};
    auto next = Clock::now() + glance;
    while (fuse_session_exited(&session) == 0) {
        if (Clock::now() >= next) {
            if (!hasName(serviceDescriptor))
                break;
            next = Clock::now() + glance;
        }
        pollfd waiting{fuse_session_fd(&session), POLLIN, 0};
        const int ready = ::poll(&waiting, 1, static_cast<int>(glance.count()));
        if (ready < 0 && errno != EINTR)
            break;
        if (ready <= 0)
            continue;
        const int received = fuse_session_receive_buf(&session, &buffer);
        if (received == -EINTR)
            continue;
        if (received <= 0)
            break;
        fuse_session_process_buf(&session, &buffer);
    }
    std::free(buffer.mem);
}

/// Each file that programs write to takes a descriptor.
void allowManyDescriptors()
{
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = limit.rlim_max;
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

/// The process that serves, from its first moment to its end.
[[noreturn]] void mountAndServe(ServedVolume& volume, const MountOptions& options, int answer)
{
    leaveTheAskingProcess();
    allowManyDescriptors();
    fuse_session* session = mountedSession(volume, options);
    if (session == nullptr)
        ::_exit(EXIT_FAILURE);
    const auto device = deviceMountedAt(options.folder);
    if (::write(answer, "1", 1) == 1) {
        closeAllBut(fuse_session_fd(session), options);
        serve(*session, options.serviceDescriptor);
    }
    // Another volume may be mounted there by now, while programs still hold on to this one.
    if (device && device == deviceMountedAt(options.folder))
        fuse_session_unmount(session);
    ::_exit(EXIT_SUCCESS);
}

} // namespace

bool startServing(ServedVolume& volume, const MountOptions& options)
{
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC) != 0)
        bytes::throwErrno("pipe");
    const bytes::File answer(ends[0], "pipe");
    std::optional<bytes::File> question(std::in_place, ends[1], "pipe");
    const pid_t process = ::fork();
    if (process < 0)
        bytes::throwErrno("fork");
    if (process > 0) {
        question.reset();
        while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) { }
        char isMounted = 0;
        ssize_t count = 0;
        while ((count = ::read(answer.descriptor(), &isMounted, 1)) < 0 && errno == EINTR) { }
        return count == 1;
    }
    // Twice, so that nobody has to wait for the process that stays.
    if (::fork() != 0)
        ::_exit(EXIT_SUCCESS);
    mountAndServe(volume, options, ends[1]);
}

} // namespace mounting
