/* PID 1 of the emulated machine: runs /prog with the arguments in /args
 * (NUL-separated), forwards its stdout and stderr as framed data through I/O
 * port 0xE9, reports its wait status and stops the emulator.
 * Frame: 0x01 TAG LEN(2 bytes, little endian) DATA;  TAG is O, E, X or S. */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/io.h>
#include <sys/mount.h>
#include <sys/reboot.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

static void put(char tag, const unsigned char* p, unsigned n) {
    outb(1, 0xe9);
    outb(tag, 0xe9);
    outb(n & 255, 0xe9);
    outb(n >> 8, 0xe9);
    for (unsigned i = 0; i < n; i++)
        outb(p[i], 0xe9);
}

static void stop(int status) {
    char b[16];
    int n = snprintf(b, sizeof b, "%d", status);
    put('X', (unsigned char*)b, n);
    for (const char* s = "Shutdown"; *s; s++)
        outb(*s, 0x8900);
    sync();
    reboot(RB_POWER_OFF);
    for (;;)
        pause();
}

int main(void) {
    static char args[65536], *argv[1024], *envp[1024];
    int argc = 0, envc = 0;
    mkdir("/proc", 0755);
    mkdir("/sys", 0755);
    mkdir("/dev", 0755);
    mkdir("/tmp", 01777);
    mount("proc", "/proc", "proc", 0, 0);
    mount("sysfs", "/sys", "sysfs", 0, 0);
    mount("devtmpfs", "/dev", "devtmpfs", 0, 0);
    if (iopl(3)) {
        perror("iopl");
        reboot(RB_POWER_OFF);
    }
    put('S', (const unsigned char*)"up", 2);

    int f = open("/args", O_RDONLY), n = f < 0 ? 0 : read(f, args, sizeof args - 1);
    if (f >= 0)
        close(f);
    for (char* p = args; p < args + n && argc < 1023; p += strlen(p) + 1)
        argv[argc++] = p;
    if (!argc)
        argv[argc++] = "/prog";
    static char env[65536];
    f = open("/env", O_RDONLY);
    n = f < 0 ? 0 : read(f, env, sizeof env - 1);
    if (f >= 0)
        close(f);
    for (char* p = env; p < env + n && envc < 1023; p += strlen(p) + 1)
        envp[envc++] = p;

    int po[2], pe[2];
    if (pipe(po) || pipe(pe))
        stop(255 << 8);
    fcntl(po[0], F_SETPIPE_SZ, 1 << 20);
    pid_t pid = fork();
    if (!pid) {
        ioperm(0xe9, 1, 0);
        iopl(0);
        dup2(open("/dev/null", O_RDWR), 0);
        dup2(po[1], 1);
        dup2(pe[1], 2);
        close(po[0]);
        close(po[1]);
        close(pe[0]);
        close(pe[1]);
        chdir("/w");
        execve("/prog", argv, envp);
        fprintf(stderr, "exec: %s\n", strerror(errno));
        _exit(127);
    }
    close(po[1]);
    close(pe[1]);
    struct pollfd pf[2] = {{po[0], POLLIN, 0}, {pe[0], POLLIN, 0}};
    int open_fds = 2;
    static unsigned char buf[65535];
    while (open_fds) {
        if (poll(pf, 2, -1) < 0)
            break;
        for (int i = 0; i < 2; i++)
            if (pf[i].fd >= 0 && pf[i].revents) {
                ssize_t r = read(pf[i].fd, buf, sizeof buf);
                if (r > 0)
                    put(i ? 'E' : 'O', buf, r);
                else {
                    pf[i].fd = -1;
                    open_fds--;
                }
            }
    }
    int st = 255 << 8;
    while (waitpid(pid, &st, 0) != pid && errno == EINTR)
        ;
    stop(st);
}
