// What the library waits for, by work and kind of link: docs/waits.md in short.
#include "supervisor/work.h"

namespace {

enum LinkKind : int32_t { AnyLink, SerialCable, PortCardSerial, Usb };

constexpr int32_t Any = -1;

struct WaitRow {
    int32_t work;
    int32_t platform;
    LinkKind link;
    const char* text;
};

// The first row that fits counts.
constexpr WaitRow WaitRows[] = {
    {QVNS_WORK_TRIGGER, Any, AnyLink, "the external trigger"},
    {Any, 25, SerialCable, "the serial decoder's reply"},
    {Any, 30, SerialCable, "the serial decoder's reply"},
    {Any, 80, SerialCable, "the serial decoder's reply"},
    {QVNS_WORK_OPEN, 48, Usb, "the camera to tell its version"},
    {QVNS_WORK_OPEN, 28, AnyLink, "the coprocessor to take an order"},
    {QVNS_WORK_OPEN, 29, Usb, "the signal processor to take an order"},
    {QVNS_WORK_OPEN, Any, PortCardSerial, "the serial decoder's reply"},
    {QVNS_WORK_OPEN, Any, Usb, "the replies of the camera that is opened"},
    {QVNS_WORK_OPEN, Any, AnyLink, "the camera to open"},
    {QVNS_WORK_CLOSE, Any, AnyLink, "the camera to close"},
    {QVNS_WORK_CLEAR, 29, Usb, "the signal processor to take an order"},
    {QVNS_WORK_CLEAR, 400, Usb, "the camera to have cleared its sensor"},
    {QVNS_WORK_CLEAR, Any, AnyLink, "the sensor to be cleared"},
    {QVNS_WORK_LOAD, Any, AnyLink, "the camera to take its clock pattern"},
    {QVNS_WORK_EXPOSE, 22, AnyLink, "the camera's exposure counter to run down"},
    {QVNS_WORK_EXPOSE, 23, AnyLink, "the camera's exposure counter to run down"},
    {QVNS_WORK_EXPOSE, 24, AnyLink, "the camera's exposure counter to run down"},
    {QVNS_WORK_EXPOSE, Any, AnyLink, "the end of the exposure"},
    {QVNS_WORK_READ, Any, Usb, "the bytes of the frame"},
    {QVNS_WORK_READ, Any, AnyLink, "the pixels of the frame"},
    {QVNS_WORK_TEMPERATURE, 28, AnyLink, "the coprocessor to take an order"},
    {QVNS_WORK_TEMPERATURE, 29, Usb, "the signal processor to take an order"},
    {QVNS_WORK_TEMPERATURE, Any, AnyLink, "the temperature"},
    {QVNS_WORK_SETTING, 28, AnyLink, "the coprocessor to take an order"},
    {QVNS_WORK_SETTING, 29, Usb, "the signal processor to take an order"},
    {QVNS_WORK_SETTING, Any, AnyLink, "the camera to take a setting"},
    {QVNS_WORK_WHEEL, Any, AnyLink, "the filter wheel to be done"},
    {QVNS_WORK_MEMORY, Any, PortCardSerial, "the serial decoder's reply"},
    {QVNS_WORK_MEMORY, Any, AnyLink, "the camera's memory"},
    {QVNS_WORK_HOST, Any, AnyLink, "the host's own function"},
};

constexpr int32_t ByteWheel = 4;

bool IsOn(const CameraConfig& config, LinkKind link)
{
    const bool isUsb = config.InterfaceType == QV_INTERFACE_USB;
    const bool isPortCard = config.InterfaceType == QV_INTERFACE_PORT_CARD;
    switch (link) {
    case SerialCable: return !isUsb && !isPortCard && config.InterfaceLink != 0;
    case PortCardSerial: return isPortCard && config.InterfaceLink != 0;
    case Usb: return isUsb;
    default: return true;
    }
}

} // namespace

const char* WaitName(const Slot& slot, int32_t work)
{
    const CameraConfig& config = slot.open.Config;
    if (work == QVNS_WORK_WHEEL && config.FilterWheel == ByteWheel) {
        return "the filter wheel to take a byte";
    }
    for (const WaitRow& row : WaitRows) {
        if (row.work != Any && row.work != work) continue;
        if (row.platform != Any && row.platform != config.Platform) continue;
        if (IsOn(config, row.link)) return row.text;
    }
    return "";
}
