/* A host with a virtual camera, as someone else builds it: workbench FOLDER, that of qvn.cfg. */
#include <qvn_bench.h>
#include <stdio.h>

int main(int count, char** arguments)
{
    char error[200] = "";
    QV_SetPathName(count > 1 ? arguments[1] : "");
    if (QVB_Install("platform=44,time=virtual", error, sizeof error) != 0) puts(error);
    printf("%d virtual camera\n", (int)QVB_InstrumentCount());
    return QVB_Uninstall() == 0 ? 0 : 1;
}
