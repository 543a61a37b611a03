#include "tests/native/nobody.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

int AsNobody(int (*body)())
{
    const pid_t child = fork();
    if (child == 0) {
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_RTPRIO, &none);
        if (geteuid() == 0 && setuid(65534) != 0) _exit(101);
        _exit(body());
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}
