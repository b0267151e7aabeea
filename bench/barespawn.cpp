// SPDX-License-Identifier: Apache-2.0
#include "barespawn.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char **environ;

namespace {

// Reads both pipes until the child closes them, as any caller that keeps the output must.
void drain(int out, int err)
{
    pollfd fds[2] = {{out, POLLIN, 0}, {err, POLLIN, 0}};
    int open = 2;
    char buffer[16384];
    while (open > 0) {
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        for (pollfd &fd : fds) {
            if (fd.fd < 0 || !(fd.revents & (POLLIN | POLLHUP | POLLERR)))
                continue;
            if (read(fd.fd, buffer, sizeof buffer) <= 0) {
                fd.fd = -1;
                --open;
            }
        }
    }
}

int start(const QString &program, const QStringList &arguments, bool forked)
{
    std::vector<QByteArray> storage{QFile::encodeName(program)};
    for (const QString &argument : arguments)
        storage.push_back(argument.toLocal8Bit());
    std::vector<char *> argv;
    for (QByteArray &bytes : storage)
        argv.push_back(bytes.data());
    argv.push_back(nullptr);

    int out[2];
    int err[2];
    if (pipe2(out, O_CLOEXEC) != 0)
        return -1;
    if (pipe2(err, O_CLOEXEC) != 0) {
        close(out[0]);
        close(out[1]);
        return -1;
    }
    pid_t pid = -1;
    bool spawned = false;
    if (forked) {
        pid = fork();
        if (pid == 0) {
            dup2(out[1], STDOUT_FILENO);
            dup2(err[1], STDERR_FILENO);
            execvp(argv[0], argv.data());
            _exit(127);
        }
        spawned = pid > 0;
    } else {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
        spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) == 0;
        posix_spawn_file_actions_destroy(&actions);
    }
    close(out[1]);
    close(err[1]);
    if (spawned)
        drain(out[0], err[0]);
    close(out[0]);
    close(err[0]);
    if (!spawned)
        return -1;
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

namespace BareSpawn {

int run(const QString &program, const QStringList &arguments)
{
    return start(program, arguments, false);
}

int runForked(const QString &program, const QStringList &arguments)
{
    return start(program, arguments, true);
}

} // namespace BareSpawn
