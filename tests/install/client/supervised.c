/* A host on the supervisor, as someone else builds it. */
#include <qvn_supervisor.h>
#include <stdio.h>

int main(void)
{
    char version[256] = "";
    QV_Ver(version);
    puts(qvns_error_text(QVNS_ERROR_ARGUMENT));
    return 0;
}
