// qvn temperature: cools, logs and plots.
#include "tools/commands.h"

int RunTemperature(const WatchRequest& request)
{
    return RunWatch(request, TableView);
}
