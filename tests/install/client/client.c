/* A host as someone else builds it. */
#include <qvn.h>
#include <stdio.h>

int main(void)
{
    char version[256] = "";
    char platform[256] = "";
    QV_Ver(version);
    QV_PTFtoNameVB(QV_PLATFORM_DEMO, platform, 0);
    printf("%s: platform %d is %s\n", version, QV_PLATFORM_DEMO, platform);
    return QV_Status(0) == QV_ERROR_NONE ? 0 : 1;
}
