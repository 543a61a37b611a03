/*
 * qvn 7.4: control of cooled scientific CCD cameras.
 *
 * First steps
 * -----------
 *
 *     QV_SetPathName("/usr/share/qvn");            the folder of qvn.cfg
 *     QV_Open(1, 275, 0, 0, 0, 0, 0, NULL, NULL);  platform, sensor, ..., camera, options
 *     if (QV_Status(0) != QV_ERROR_NONE) puts(QV_ErrorMessage(QV_Status(0)));
 *     uint16_t *frame = malloc(2 * QV_GetDimX(0) * QV_GetDimY(0));
 *     QV_GetCCD(1, 0.1, frame, 0);                 light frame of 0.1 seconds
 *     if (QV_Status(0) != QV_ERROR_NONE) ...
 *     QV_Close(0);
 *
 * Platform 1 is a simulated camera that needs no hardware.
 *
 * Camera numbers
 * --------------
 * The library drives up to eight cameras, numbered 0 to 7. The number is the last argument of
 * nearly every call, and the host chooses it at open. There is nothing to allocate and nothing to
 * free. A call with any other number does nothing and returns 0 or a null pointer.
 *
 * Errors
 * ------
 * Operations store a code, QV_ERROR_..., in the camera; QV_Status returns it and QV_ErrorMessage
 * its text. A code stays until the next open or the next operation of the same kind, so ask
 * directly after the call. Where a comment below says nothing of errors, the call leaves the code
 * as it is. Most wrong arguments are not reported: the comments tell what they do. A null pointer
 * in place of a text, a record or a list is allowed everywhere; nothing is read from it or written
 * to it. A null frame buffer stands for the current internal buffer (QV_Matrix).
 *
 * Units
 * -----
 * Exposures are seconds, delays milliseconds, cooler drives percent; temperatures come in the unit
 * that the call names. Frames are unsigned 16-bit pixels, row after row, without a header. Buffer
 * sizes below are in pixels of two bytes. The width of a frame is always even: the lowest bit of
 * every width is cleared, and no other, so that a frame may be wider than 65535.
 *
 * Background service
 * ------------------
 * A camera opened with QV_OPTION_SERVICE or QV_OPTION_REGULATION is served by a timer thread of
 * the library: ten ticks a second, one camera a tick in rotation, work on every fifth turn of a
 * camera. So with one such camera the temperature is read twice a second, with two of them once a
 * second.
 *
 * Calls that talk to the camera keep the timer out of it for their length ("holds the service
 * off"), as QV_StopNow and QV_StartNow do for a sequence of calls. While one camera is held, the
 * rotation stands still and no other camera is served. A frame call that fails leaves the service
 * held off, so that nothing touches a broken link; so does a temperature that cannot be read in
 * the background, with status 2. QV_StartNow, once for each failure, takes the service up again,
 * and so does closing the camera.
 *
 * Threads
 * -------
 * One thread at a time for one camera. QV_BrkFlg, QV_Status, QV_IsOn, QV_GetMode, QV_BckGnd,
 * QV_BckBusy, QV_GetTemp, QV_GetPower, QV_CoolerStatus and QV_Delay may be called from any thread
 * at any time, also while another call runs for the same camera; QV_GetTempHistory and
 * QV_CheckTempEquil too. Two cameras may be driven by two threads, with these exceptions, which
 * need one thread at a time for all cameras together: opening and closing; everything that changes
 * the geometry (QV_SetBinning, and the first frame of a new window), since all cameras share one
 * pattern file; loading and saving definitions and configurations; functions that return a text
 * that the library owns, also in their forms with a buffer. Both callbacks run in the thread of
 * the call that reports.
 *
 * Waits without limit
 * -------------------
 * Frame calls block for exposure and readout. The following may wait for good if what they wait
 * for never comes:
 *   QV_Open and its relatives, with the background service: the first work of the service
 *   QV_OpenArray with the service, under a camera number other than 1
 *   QV_StopNow, and every call that holds the service off: the timer's acknowledgement. It does not
 *     come while another camera is held (see above), nor if the option bits of the service are set
 *     and the timer does not serve the camera: they were set by QV_SetMode after an open without
 *     them, the open with them failed or ended without the service (see QV_Open), the camera has
 *     been closed since, or an array took the timer away (see QV_OpenArray).
 *   QV_Close of the last served camera, and QV_ArmTimerHandle(3, camera): the same
 *   QV_Trigger with wait, and frames with QV_OPTION_EXTERNAL_TRIGGER: the trigger
 *   QV_StartAcquisition with the external start: the camera's trigger input
 *   the filter wheel calls with wheel kind 4, QV_Plug on platform 29, and clearing on platforms 29
 *     and 400: an answer of the device
 */
#ifndef QVN_H
#define QVN_H

#include <stdint.h>

#if defined(_WIN32)
#if defined(QVN_BUILD)
#define QVN_API __declspec(dllexport)
#else
#define QVN_API __declspec(dllimport)
#endif
#else
#define QVN_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------- */
/* Constants                                                                 */
/* ------------------------------------------------------------------------- */

/* What QV_Ver returns. */
#define QV_VERSION 743

/* Camera numbers are 0 to QV_CAMERAS - 1. */
#define QV_CAMERAS 8

/* The simulated camera. QV_CamQuery lists the platform codes. */
#define QV_PLATFORM_DEMO 1

/* Error codes of QV_Status. They are never renumbered; 14 and 21 are not in use. */
#define QV_ERROR_NONE 0
#define QV_ERROR_CAMERA_NOT_FOUND 1      /* no camera answers, or another than the platform's; the
                                            simulated camera: whatever failed, such as its image */
#define QV_ERROR_LINK_FAILURE 2          /* a frame or a temperature did not arrive */
#define QV_ERROR_UNSUPPORTED_PLATFORM 3  /* the platform code has no driver */
#define QV_ERROR_INTERFACE_LOCKED 4      /* the interface card is in use by another process */
#define QV_ERROR_PLATFORM_DEFINITION 5   /* qvn.cfg cannot be read: check QV_SetPathName */
#define QV_ERROR_CCD_DEFINITION 6        /* the same, found when the sensor was looked up */
#define QV_ERROR_FILTER_WHEEL_ZERO 7     /* the wheel's zero position was not found */
#define QV_ERROR_PATTERN_OVERFLOW 8      /* the clock pattern does not fit: bin less vertically */
#define QV_ERROR_DMA_BUFFER 9            /* no memory for the card's transfer buffer */
#define QV_ERROR_SERIALIZER_NOT_LINKED 10 /* the remote serializer is off or not connected */
#define QV_ERROR_SERIAL_DECODER 11       /* the serial decoder is not the expected one */
#define QV_ERROR_ARRAY_PLATFORM 12       /* the platform cannot be opened as an array */
#define QV_ERROR_DRIVER_HANDLE 13        /* the interface card's kernel driver is missing */
#define QV_ERROR_CARD_NOT_FOUND 15       /* no interface card of this index */
#define QV_ERROR_IMAGE_BUFFER 16         /* no memory, or no internal buffer for the frame */
#define QV_ERROR_NO_USB_DEVICE 17        /* the USB devices cannot be listed */
#define QV_ERROR_USB_OPEN 18             /* the USB device cannot be opened */
#define QV_ERROR_PORT_LIBRARY 19         /* io.dll cannot be loaded */
#define QV_ERROR_ADAPTOR_LIBRARY 20      /* kzbusb.dll cannot be loaded */
#define QV_ERROR_PATTERN_MEMORY 22       /* no memory for building the clock pattern */
#define QV_ERROR_PATTERN_FILE 23         /* wave.bin cannot be written: check the folder's rights */
#define QV_ERROR_COPROCESSOR 24          /* the camera's coprocessor does not answer as expected */
#define QV_ERROR_ARM 25                  /* the camera's controller did not acknowledge */
#define QV_ERROR_REGISTER_TEST 26        /* registers read back other values than were written */
#define QV_ERROR_POWER_SUPPLY 27         /* the camera reports a failure of its power supply */
#define QV_ERROR_DSP_OUT_OF_DATE 28      /* the camera's firmware is too old */

/* Option bits of a camera: given at open, read by QV_GetMode, changed by QV_SetMode. */
#define QV_OPTION_SERVICE 0x0001u           /* background service; acts at open and close */
#define QV_OPTION_REGULATION 0x0002u        /* background service that regulates the temperature */
#define QV_OPTION_EXTERNAL_TRIGGER 0x0004u  /* frames wait for the trigger; exposures above 0.5 s
                                               are not timed by the host */
#define QV_OPTION_KEEP_CLEAN 0x0008u        /* clear the sensor before each frame, and in the
                                               background where the service runs for other bits */
#define QV_OPTION_EXTERNAL_EXPOSURE 0x0010u /* the shutter is worked from outside */
#define QV_OPTION_SILENT 0x0020u            /* no progress reports of readouts */
#define QV_OPTION_COOLER_LINE_LOW 0x0040u   /* Tarn: second cooler line stays low */
#define QV_OPTION_SMOOTH_LINES 0x0080u      /* Tarn_III, Tarn_IIIA: smooth lines after readout */
#define QV_OPTION_CLEAR_WHILE_EXPOSING 0x0100u /* fast clears through exposures above 0.5 s */
#define QV_OPTION_LIMIT_COOLER 0x0200u      /* the regulator drives at most 80 percent */
#define QV_OPTION_FAN_AT_EXPOSURE 0x0400u   /* platform 50: set the fan at the start of exposures */
#define QV_OPTION_PORT_LIBRARY 0x0800u      /* I/O ports through io.dll */
#define QV_OPTION_PRIORITY 0x1000u          /* with QV_OPTION_PORT_LIBRARY: real-time priority for
                                               the readout, where the system grants it */
#define QV_OPTION_CARD_DMA 0x2000u          /* frames by DMA; set at open for a card that can */
#define QV_OPTION_NO_AUTO_DMA 0x4000u       /* never switch to DMA at open */
#define QV_OPTION_INTERNAL_BUFFERS 0x8000u  /* frames go to internal buffers (QV_Matrix) */

/* Temperature units. */
#define QV_KELVIN 0     /* Celsius + 273.0: not 273.15 */
#define QV_CELSIUS 1
#define QV_FAHRENHEIT 2 /* out: Celsius x 33.8; in: value / 1.8 - 32. Not the usual scale, and the
                           two are not each other's inverse; kept for compatibility. */

/* Results of QV_CoolerStatus. */
#define QV_COOLER_OFF 0
#define QV_COOLER_ON 1         /* switched on; no step of the regulator yet */
#define QV_COOLER_REGULATING 2 /* not at the target */
#define QV_COOLER_AT_TARGET 3  /* the reading, cut to tenths, equals the target */

/* How a camera is attached: CameraConfig.InterfaceType and the argument of QV_Open. */
#define QV_INTERFACE_PRINTER_PORT 0
#define QV_INTERFACE_PORT_CARD 1
#define QV_INTERFACE_PCI_CARD 2
#define QV_INTERFACE_PCI_CARD_4 4   /* second form, with another end of readout */
#define QV_INTERFACE_USB 6
#define QV_INTERFACE_PCI_CARD_70 70 /* uNOD family */

/* Items of QV_RWData. */
#define QV_DATA_CCD 0      /* CcdDefinition, 72 bytes */
#define QV_DATA_PLATFORM 1 /* PlatformDefinition, 88 bytes */
#define QV_DATA_OPTIONS 2  /* the option word, 4 bytes */
#define QV_DATA_FAMILY 3   /* the sensor's family code, 4 bytes */

/* Status of the calls that load and save files. */
#define QV_FILE_DONE 0
#define QV_FILE_NOT_OPENED 1
#define QV_FILE_NOT_PARSED 2 /* saving: also a key that is missing or of the wrong type */

/* Operations of QV_Matrix, and the number of internal buffers of a camera. */
#define QV_MATRIX_ALLOCATE 0
#define QV_MATRIX_RESIZE 1
#define QV_MATRIX_FREE 2
#define QV_MATRIX_BUFFERS 16

/* Actions of QV_ArmTimerHandle. */
#define QV_TIMER_DISARM 0
#define QV_TIMER_ARM 1
#define QV_TIMER_START 2
#define QV_TIMER_END 3

/* Values that QV_GetTempHistory copies. */
#define QV_HISTORY_LENGTH 7200

/* ------------------------------------------------------------------------- */
/* Callbacks and records                                                     */
/* ------------------------------------------------------------------------- */

/*
 * Called about three times a second during exposures of more than 0.5 seconds. `text` is the time
 * left in seconds, as "%6.1lf" prints it ("%04.2lf s" for an array) with the decimal sign of
 * the host's LC_NUMERIC; it is valid during the call only. Runs in the thread that takes the frame.
 * QV_BrkFlg may be called from here.
 */
typedef void (*QvExposureCallback)(const char *text, int32_t camera);

/*
 * Called during readouts unless QV_OPTION_SILENT is set: first with "Image downloading" and 0,
 * then with percentages that never fall, from 0 (of tall frames) to 99, at the end with 100. `text`
 * is null for all but the first call: keep the caption that is shown. Building and loading a clock
 * pattern report in the same way under captions of their own, also with QV_OPTION_SILENT. `text` is
 * valid during the call only.
 */
typedef void (*QvProgressCallback)(const char *text, int32_t percent, int32_t camera);

/*
 * How one installed camera is set up: 156 bytes, fixed layout. QV_InitCfg gives the values in
 * brackets; a dash: it does not write the field.
 */
typedef struct CameraConfig {
    int32_t AD;                     /* analog-to-digital converter [0] */
    int32_t Platform;               /* platform code [44] */
    int32_t CCD;                    /* sensor code [255] */
    int32_t InterfaceType;          /* QV_INTERFACE_... [2] */
    int32_t InterfaceAddress;       /* base port of the interface; -1: none [-1] */
    int32_t CameraAddress;          /* sub-camera on the bus, 0 to 3 [0] */
    int32_t PciIndex;               /* the camera number that is opened [-] */
    int32_t InterfaceLink;          /* serial decoder on the cable: 0 none, 1, 3 [0] */
    int32_t FilterWheel;            /* 0 none, 1 stepper with 8 positions, 2 stepper with 6,
                                       3 controller with 4-bit commands, 4 with bytes [0] */
    int32_t FilterWheelPortAddress; /* kept, not used [-] */
    int32_t FilterWheelPortType;    /* kept, not used [-] */
    int32_t ShutterType;            /* kept, not used [0] */
    int32_t ShutterHisteresys;      /* settling time of the shutter, milliseconds [10] */
    int32_t CcdOutput;              /* output amplifier, 0 to 3 [0] */
    int32_t CcdTechnology;          /* 0 inverts two vertical clock lines [1] */
    int32_t CcdBackFront;           /* 0 exchanges two horizontal clock lines [0] */
    int32_t Process;                /* front end of the uNOD cameras [0] */
    int32_t Activity;               /* option bits for open, QV_OPTION_... [0] */
    int32_t LongCable;              /* 1: a long cable is fitted [0] */
    char DefectiveList[80];         /* name of a list of defective pixels [-] */
} CameraConfig;

/* A sensor, as qvn.cfg describes it: 72 bytes, fixed layout. */
typedef struct CcdDefinition {
    uint16_t Manufacturer;   /* maker */
    int16_t Xpix;            /* image columns */
    int16_t Ypix;            /* image rows */
    uint16_t Dummy[4];       /* extra rows of a readout with vertical binning 1, 2, 3, 4 */
    int16_t HorDummyPix;     /* columns ahead of the first image column */
    int16_t HorRegSize;      /* length of the horizontal register, pixels */
    uint16_t Antiblooming;   /* 1: has an antiblooming drain */
    uint16_t MultipleOutput; /* number of outputs */
    uint16_t Shutter;        /* kind of shutter */
    double XpixDim;          /* pixel width, micrometres */
    double YpixDim;          /* pixel height, micrometres */
    double Xarea;            /* sensitive area, width, millimetres */
    double Yarea;            /* sensitive area, height, millimetres */
    double FWC;              /* full-well capacity, electrons */
    double CCF;              /* charge conversion factor */
} CcdDefinition;

/* A platform with a sensor, as qvn.cfg describes it: 88 bytes, fixed layout. */
typedef struct PlatformDefinition {
    uint16_t Spare;               /* not used */
    uint16_t ADbit;               /* converter bits; the second converter's in the high byte */
    int16_t FpgaId;               /* hardware version that the camera must report */
    uint16_t VerticalPhasePeriod; /* one phase of a vertical clock: microseconds; for the clock
                                     patterns of some cameras a count of pattern words */
    int16_t NumberOfGains;        /* number of gain settings */
    int16_t AntiBloomingTimer;    /* reported only */
    double TimeBase;              /* master clock of the pattern generator, MHz */
    double AmplifierDelay;        /* settling of the video chain, microseconds */
    double ADclock;               /* reported only */
    double SamplingClock[2];      /* 0: length of a pattern word, microseconds; 1: reported only */
    double Gain[4];               /* gain of each setting; reported only */
} PlatformDefinition;

/* ------------------------------------------------------------------------- */
/* Status, options, library                                                  */
/* ------------------------------------------------------------------------- */

/* The code of the last operation, QV_ERROR_...; 0 for a camera that was never opened. */
QVN_API int32_t QV_Status(int32_t camera);

/*
 * The text of a code: a constant of the library. "" for 14 and 21, null below 0 and above 28.
 */
QVN_API const char *QV_ErrorMessage(int32_t code);

/*
 * Copies the text of a code to `buffer` (80 characters), "" for a code without a text. Returns
 * `buffer`. All functions ending in VB are for hosts that cannot take a returned text.
 */
QVN_API char *QV_ErrorMessageVB(int32_t code, char *buffer);

/*
 * Returns QV_VERSION. With `buffer` (64 characters) also writes "7.4.3 Build: " with the date and
 * time of the build.
 */
QVN_API int32_t QV_Ver(char *buffer);

/*
 * The version number of the interface card's kernel driver; with `buffer` (128 characters) also
 * its text: at most 128 bytes are written, the end of the text among them. Works on a closed camera
 * too. Without the driver: 0 and an empty text.
 */
QVN_API uint32_t QV_WDVer(char *buffer, int32_t camera);

/* The largest pixel value of the camera: 2 to the power of the converter's bits, minus 1. */
QVN_API uint16_t QV_MaxNumbers(int32_t camera);

/*
 * Sets the folder of qvn.cfg, camera.cfg and wave.bin, for all cameras. A slash is added where
 * none ends the path; an empty path is the current directory. At most 1023 characters; a longer
 * path is ignored. The library writes wave.bin there when it builds clock patterns.
 */
QVN_API void QV_SetPathName(const char *path);

/* Sleeps the calling thread; 0 gives up the rest of its time slice. */
QVN_API void QV_Delay(uint32_t milliseconds);

/* 1 from a successful open until close, else 0. */
QVN_API int32_t QV_IsOn(int32_t camera);

/* The option word, QV_OPTION_... */
QVN_API uint32_t QV_GetMode(int32_t camera);

/*
 * Sets the given option bits with `on` nonzero, else clears them; returns the new option word.
 * Bits that act at open, such as QV_OPTION_SERVICE, do so at the next one. To set
 * QV_OPTION_SERVICE or QV_OPTION_REGULATION here, on a camera opened without both, makes the next
 * call that holds the service off wait for good. To clear both on a camera that is served takes the
 * handshake away, but not the timer: it goes on in the camera, beside the host's calls and past
 * QV_Close. Do not; one of the two has to stay.
 */
QVN_API uint32_t QV_SetMode(uint32_t bits, int32_t on, int32_t camera);

/*
 * Breaks off a running exposure of more than 0.5 seconds; the frame is read as it is. From any
 * thread. Shorter exposures, a wait for the trigger and a readout are not broken off. The start of
 * an exposure forgets an earlier break, so one that comes too early has no effect on it, save that
 * a frame called after it skips its wait for the trigger.
 */
QVN_API void QV_BrkFlg(int32_t camera);

/* Background work turns done since open, and the length of the last one in milliseconds. */
QVN_API uint32_t QV_BckGnd(int32_t camera);
QVN_API uint32_t QV_BckBusy(int32_t camera);

/*
 * Copies one block between the camera and the host: `out` nonzero from the camera to `buffer`,
 * zero from `buffer` to the camera. `what` is QV_DATA_...; any other does nothing. A written
 * sensor or platform acts from the next pattern on; the next open loads both anew. A sensor's Xpix
 * and Ypix act on the very next frame: the host's buffer may then be too small for it.
 */
QVN_API void QV_RWData(int32_t what, int32_t out, void *buffer, int32_t camera);

/*
 * Chooses the interface card, for the calls that find it before open: `index` 0 to 7, others are
 * ignored. QV_Open itself always takes the card whose index is the camera's number.
 */
QVN_API void QV_SetKZBPCI(int32_t index, int32_t camera);

/* Writes the defaults, see CameraConfig. */
QVN_API void QV_InitCfg(CameraConfig *config);

/*
 * Copies the record to the camera. Ahead of QV_Open this sets what that call has no arguments for:
 * sub-camera, serial decoder, output amplifier, clock polarities, filter wheel.
 */
QVN_API void QV_InitOptions(const CameraConfig *config, int32_t camera);

/* ------------------------------------------------------------------------- */
/* Open, close, selection                                                    */
/* ------------------------------------------------------------------------- */

/*
 * Sets the library's folder to "qvn" below the current directory if that can be entered, else to
 * the current directory. Runs by itself when the library is loaded. A later call does this again,
 * in place of what QV_SetPathName has set.
 */
QVN_API void QV_LibraryInit(void);

/*
 * Opens a camera.
 *   platform       code of the electronics, see QV_CamQuery
 *   ccd            code of the sensor, see QV_CCDQuery
 *   address        base port of port interfaces; else not used
 *   interfaceType  QV_INTERFACE_...; platforms with one kind of link only do not care
 *   attach         0 resets the camera; else a running camera keeps its state, so the cooler
 *   options        QV_OPTION_... bits
 *   callbacks      may be null
 * Ask QV_IsOn and QV_Status. On a camera that is open already nothing happens.
 * Errors: 3 no driver for the platform; 5, 6 definitions; 1, 2, 4, 9, 10, 11, 13, 15, 17 to 20, 24
 * to 28 from the camera and its link, of which the simulated camera gives 1 only. The camera is
 * closed then. 8, 22 and 23 tell that the clock pattern could not be built and 16 that there is no
 * memory for an internal buffer; the camera is open then. With 16, and with 8, 22 and 23 where
 * QV_OPTION_INTERNAL_BUFFERS is set, it is open without background service, and the call returns
 * ahead of the timer. After a failed open and after these, calls that hold the service off wait for
 * good if its option bits are set: clear both with QV_SetMode, or close and open again.
 * After open: binning 1, gain 0, the full frame, cooler regulation off, target 0 degrees Celsius,
 * settling of the shutter 10 ms (100 ms on platforms 60 and 61).
 * With QV_OPTION_SERVICE or QV_OPTION_REGULATION the call returns when the first background work
 * is done, after half a second or more, and the temperature has been read.
 */
QVN_API void QV_Open(int32_t platform, int32_t ccd, int32_t address, int32_t interfaceType,
                     int32_t attach, int32_t camera, uint32_t options,
                     QvExposureCallback exposureCallback, QvProgressCallback progressCallback);

/* QV_Open without callbacks. */
QVN_API void _QV_Open(int32_t platform, int32_t ccd, int32_t address, int32_t interfaceType,
                      int32_t attach, int32_t camera, uint32_t options);

/*
 * QV_Open with all values from a record: the camera number is PciIndex, the options are Activity.
 * Unlike QV_Open it keeps the record's ShutterHisteresys. Returns the library's own copy of the
 * record, which stays valid, or null if PciIndex is not 0 to 7. On a camera that is open already
 * only the record is copied.
 */
QVN_API CameraConfig *QV_OpenByConfig(const CameraConfig *config, int32_t attach,
                                      QvExposureCallback exposureCallback,
                                      QvProgressCallback progressCallback);

/*
 * The same with a record from a file, as QV_LoadCameraConfig reads it. Returns PciIndex, the
 * camera number; one outside 0 to 7 opens nothing. A file that cannot be read gives a record of
 * zeros, and the open of camera 0 then fails.
 */
QVN_API int32_t QV_OpenByFile(const char *fileName, int32_t attach,
                              QvExposureCallback exposureCallback,
                              QvProgressCallback progressCallback);

/* QV_OpenByFile without callbacks. */
QVN_API int32_t _QV_OpenByFile(const char *fileName, int32_t attach);

/*
 * Loads the definitions of platform and sensor into the camera without opening it: 0 with status 0,
 * or 1 with error 5 or 6. Codes that the catalogue does not know load as zeros. On a camera that is
 * open the link stays what it is: closing still releases what was opened.
 */
QVN_API int32_t QV_OpenPar(int32_t platform, int32_t ccd, int32_t camera);

/*
 * Closes the camera; a closed camera is left alone. Frees the current internal buffer if
 * QV_OPTION_INTERNAL_BUFFERS is set; the other buffers, the status and all values stay readable,
 * and a later open may take another platform.
 */
QVN_API void QV_Close(int32_t camera);

/* Array mode: makes the head with this number the current one. Without array mode: nothing. */
QVN_API void QV_Select(int32_t camera);

/* Addresses another sub-camera behind the same link, 0 to 3; others are ignored. */
QVN_API void QV_SubSelect(int32_t camera, int32_t subCamera);

/*
 * Keep the background service out of the camera, for a sequence of calls. The pairs nest. The
 * first QV_StopNow takes 5 ms at least, and up to 100 ms for each served camera and the rest of the
 * turn that runs; longer while another camera is held, without limit. When it has returned, the
 * service is out. Without QV_OPTION_SERVICE and QV_OPTION_REGULATION both only count.
 */
QVN_API void QV_StopNow(int32_t camera);
QVN_API void QV_StartNow(int32_t camera);

/*
 * Replaces one operation of the camera's driver, until the next open. Slots outside 0 to 69 are
 * ignored; a null pointer puts the slot into the state ahead of any open, in which callbacks and
 * most operations do nothing. Arguments without a type are int32_t. Slots 0, 12, 15 and 31 to 33
 * return an error code, slot 8 returns 1 when done. Does not hold the service off: put QV_StopNow
 * and QV_StartNow around it for slots that the service uses, 1, 10, 11, 16 and 18.
 *
 *    0  int32_t  (address, attach, camera)                  open the link and the camera
 *    1  void     (power, camera)                            cooler drive, tenths of a percent
 *    2  void     (bits, on, camera)                         auxiliary port bits
 *    3  void     (reg, mask, on, camera)                    bits of a register
 *    4  void     (uint32_t address, uint32_t value, camera) write memory; 6: words
 *    5  uint32_t (uint32_t address, camera)                 read memory; 7: words
 *    8  int32_t  (const char *path, camera)                 load a clock pattern
 *    9  void     (const char *path, uint32_t x, uint32_t y, uint32_t width, uint32_t hbin, vbin,
 *                 uint32_t option, uint32_t extra, camera)  build a clock pattern
 *   10  void     (camera)                                   clear the sensor
 *   11  int32_t  (camera)                                   read the temperature; -1: failed
 *   12  int32_t  (shutter, width, height, uint16_t *buffer, camera)        read a frame
 *   13  void     (double seconds, camera)                   start the shutter
 *   15  int32_t  (shutter, x, y, width, height, uint16_t *buffer, camera)  read a window
 *   16  void     (on, camera)                               cooler
 *   17  uint16_t (reg, camera)                              read a register
 *   18  void     (reg, value, camera)                       write a register
 *   19  int32_t  (camera)                                   wait for the link; not 0: time-out
 *   21  int32_t  (camera)                                   trigger input, 0 or 1
 *   22  void     (void)                                     sensor idle
 *   23  void     (camera)                                   one fast clear
 *   24  int32_t  (operation, position, camera)              move the filter wheel
 *   25  void     (uint32_t value, camera)                   write the link's data
 *   26  uint32_t (uint32_t address, camera)                 write the link's address
 *   27  void     (camera)                                   reset the link
 *   28  uint16_t (camera)                                   read the link's data
 *   29  uint32_t (selector, camera)                         read a status word
 *   30  int32_t  (camera)                                   program the gain
 *   31, 33       as 12                                      timed read; read an array head
 *   32  int32_t  (camera)                                   open an array
 *   64  QvProgressCallback                                  the host's callbacks
 *   65  QvExposureCallback
 *   66  void     (uint16_t port, uint8_t value)             write an I/O port
 *   67  void     (uint16_t port, uint16_t value)            write an I/O port, word
 *   68  uint8_t  (uint16_t port)                            read an I/O port
 *   69  uint16_t (uint16_t port)                            read an I/O port, word
 */
QVN_API void QV_SetFunction(int32_t slot, void *function, int32_t camera);

/* Flushes the charge from the sensor. Holds the service off; blocks until done. */
QVN_API void QV_ClearCCD(int32_t camera);

/* ------------------------------------------------------------------------- */
/* Catalogue and geometry                                                    */
/* ------------------------------------------------------------------------- */

/*
 * Copies the platform codes, in the order for a pick list, to `list` (26 values) and returns their
 * number. With a null list only the number.
 */
QVN_API int32_t QV_CamQuery(int32_t *list);

/*
 * Copies the codes of a platform's sensors, in the order for a pick list, to `list` (at most 68
 * values) and returns their number; -1 for a platform without a list.
 */
QVN_API int32_t QV_CCDQuery(int32_t platform, int32_t *list);

/*
 * The name of a sensor: "noCode [99]" for an unknown code 99. The text is the library's and holds
 * until the next call. A known code stores the sensor's family in the camera (QV_DATA_FAMILY).
 * The form with a buffer (32 characters) returns `buffer`.
 */
QVN_API char *QV_CCDtoName(int32_t ccd, int32_t camera);
QVN_API char *QV_CCDtoNameVB(int32_t ccd, char *buffer, int32_t camera);

/* The same for a platform; "Undefined" for an unknown code. */
QVN_API char *QV_PTFtoName(int32_t platform, int32_t camera);
QVN_API char *QV_PTFtoNameVB(int32_t platform, char *buffer, int32_t camera);

/*
 * The maker of a family of sensors (32 characters). An unknown family gives the text of the last
 * known one, or an empty text ahead of the first.
 */
QVN_API char *QV_FamtoName(int32_t family);
QVN_API char *QV_FamtoNameVB(int32_t family, char *buffer);

/*
 * "platform_sensor" of the camera's CameraConfig (64 characters), with the two codes exchanged:
 * the sensor code is looked up as a platform and the platform code as a sensor. So platform 44
 * with sensor 255 reads "Undefined_noCode [44]". Kept for compatibility; for a name to show, use
 * QV_PTFtoName and QV_CCDtoName. The first argument is not used.
 */
QVN_API char *QV_PtfName(int32_t unused, int32_t camera);
QVN_API char *QV_PtfNameVB(int32_t unused, char *buffer, int32_t camera);

/*
 * Columns (even) and rows of the current image area: the binned sensor after open and
 * QV_SetBinning, the last window after a window call. A full frame after a window leaves them at
 * the window's size, so ask before the first window or use QV_GetCCDX and QV_GetBinning. In array
 * mode columns and rows of the sensor, divided by the binning that the array has for this camera.
 */
QVN_API int32_t QV_GetDimX(int32_t camera);
QVN_API int32_t QV_GetDimY(int32_t camera);

/* Columns (even) and rows of the sensor. */
QVN_API int32_t QV_GetCCDX(int32_t camera);
QVN_API int32_t QV_GetCCDY(int32_t camera);

/* Copy the camera's definitions. */
QVN_API void QV_GetCCDdata(CcdDefinition *record, int32_t camera);
QVN_API void QV_GetHPdata(PlatformDefinition *record, int32_t camera);

/* ------------------------------------------------------------------------- */
/* Definition file qvn.cfg                                                   */
/* ------------------------------------------------------------------------- */

/*
 * Load the definition of a sensor, or of a platform with a sensor, from qvn.cfg into the camera,
 * or save the camera's into the file. Result QV_FILE_...; on failure neither record nor file is
 * changed, yet a known code still stores the sensor's family (QV_DATA_FAMILY) and the platform's
 * short code. The status of the camera stays as it is.
 * Loading: a missing key, or one of another type, reads as 0; an unknown code reads as all zeros.
 * Saving: the file must hold all keys of the definition. It is replaced in one step, so that it is
 * never lost, with its mode; comments in it are lost, and numbers keep 15 digits. A disk that
 * refuses the new version, and a file that is write-protected, leave the old one, with the result 0.
 * A file above 1 MiB or of more than 10000 settings, one with @include, and one with an integer
 * beyond 32 bits that has no L behind it give QV_FILE_NOT_PARSED.
 */
QVN_API int64_t QV_LoadCCD(int32_t ccd, int32_t camera);
QVN_API int64_t QV_SaveCCD(int32_t ccd, int32_t camera);
QVN_API int64_t QV_LoadPlatform(int32_t platform, int32_t ccd, int32_t camera);
QVN_API int64_t QV_SavePlatform(int32_t platform, int32_t ccd, int32_t camera);

/* ------------------------------------------------------------------------- */
/* Camera configuration file                                                 */
/* ------------------------------------------------------------------------- */

/*
 * Read a configuration from a file, or save it into a file that exists and holds all keys. A name
 * with a slash or backslash is used as it stands; any other is looked for in the library's folder.
 * Result QV_FILE_...; on failure neither record nor file is changed. Missing keys, and those of
 * another type, read as 0 or an empty text; DefectiveList is cut at 79 characters. Saving always
 * empties DefectiveList, in the file and in the record, and replaces the file as QV_SaveCCD does.
 */
QVN_API int32_t QV_LoadCameraConfig(const char *name, CameraConfig *config);
QVN_API int32_t QV_SaveCameraConfig(const char *name, CameraConfig *config);

/* ------------------------------------------------------------------------- */
/* Single exposures                                                          */
/* ------------------------------------------------------------------------- */

/*
 * Take one full frame. They block for exposure and readout and report through both callbacks.
 *   shutter   nonzero for a light frame, 0 for a dark frame with the shutter closed
 *   exposure  seconds; negative: the sensor is read without an exposure, but on platforms 70 and 71
 *             after one of 0.0001 and with sensor 506 after one of 0.001 seconds
 *   buffer    (sensor columns / horizontal binning, made even) x (sensor rows / vertical binning)
 *             pixels, on platforms 300 and 450 three more. Null, or QV_OPTION_INTERNAL_BUFFERS: the
 *             current internal buffer is taken, see QV_Matrix.
 * QV_GetCCD holds the service off. QV_FGetCCD leaves that to the host: for series between one
 * QV_StopNow and one QV_StartNow, or without a service. QV_TGetCCD is QV_GetCCD with reads timed
 * by the processor; on cameras without such a read it touches no pixel.
 * Errors: 16 no buffer, nothing is read; 2 the frame did not arrive, 16 no memory to read it. After
 * a read that failed QV_GetCCD and QV_TGetCCD leave the service held off; see QV_StartNow.
 */
QVN_API void QV_GetCCD(int32_t shutter, double exposure, uint16_t *buffer, int32_t camera);
QVN_API void QV_FGetCCD(int32_t shutter, double exposure, uint16_t *buffer, int32_t camera);
QVN_API void QV_TGetCCD(int32_t shutter, double exposure, uint16_t *buffer, int32_t camera);

/*
 * The same for a window. x, y, width and height are binned pixels from the sensor's first image
 * pixel; the window has to lie on the sensor, which nothing checks. `buffer` takes width (made
 * even) x height pixels. A new window builds and loads a clock pattern, which takes time; the same
 * window again does not. The status tells of the read alone: a window whose pattern could not be
 * built is read with the pattern before.
 */
QVN_API void QV_GetWinCCD(int32_t shutter, double exposure, int32_t x, int32_t y, int32_t width,
                          int32_t height, uint16_t *buffer, int32_t camera);
QVN_API void QV_FGetWinCCD(int32_t shutter, double exposure, int32_t x, int32_t y, int32_t width,
                           int32_t height, uint16_t *buffer, int32_t camera);

/*
 * The same with a fixed period: what the exposure leaves of `periodSeconds` is waited as settling
 * time of the shutter. `fast` nonzero takes the forms with F.
 *   exposureMs     exposure in milliseconds, not seconds
 *   periodSeconds  from the start of the exposure to the end of the settling, seconds; shorter than
 *                  the exposure: as without a period
 */
QVN_API void QV_GetCCDPulsed(int32_t shutter, int32_t fast, double exposureMs, double periodSeconds,
                             uint16_t *buffer, int32_t camera);
QVN_API void QV_GetWinCCDPulsed(int32_t shutter, int32_t fast, double exposureMs,
                                double periodSeconds, int32_t x, int32_t y, int32_t width,
                                int32_t height, uint16_t *buffer, int32_t camera);

/*
 * Internal frame buffers, up to 16 for a camera, one of them current. `operation`:
 *   QV_MATRIX_ALLOCATE  a buffer of the whole sensor, which becomes the current one
 *   QV_MATRIX_RESIZE    the current one to the size of QV_MatrixSize
 *   QV_MATRIX_FREE      frees the current one
 * Others do nothing. Error 16: no memory, or all 16 in use. Open with QV_OPTION_INTERNAL_BUFFERS
 * allocates the first; close frees the current one only.
 */
QVN_API void QV_Matrix(int32_t operation, int32_t camera);

/*
 * The pixels of a buffer, 0 to 15; null if there is none. Valid until the buffer is freed, resized,
 * or takes a frame that is larger than it.
 */
QVN_API uint16_t *QV_MatrixPointer(int32_t index, int32_t camera);

/* Makes a buffer, 0 to 15, the current one; others are ignored. The current one. */
QVN_API void QV_MatrixSet(int32_t index, int32_t camera);
QVN_API int32_t QV_MatrixGet(int32_t camera);

/*
 * One pixel of the current buffer, taken as a frame of (sensor columns / horizontal binning)
 * columns, not made even; 0 outside the buffer.
 */
QVN_API uint16_t QV_MatrixRead(int32_t x, int32_t y, int32_t camera);

/* Bytes of the binned full frame. */
QVN_API int32_t QV_MatrixSize(int32_t camera);

/* ------------------------------------------------------------------------- */
/* Kinetics                                                                  */
/* ------------------------------------------------------------------------- */

/*
 * A series of window frames, as fast as the camera can. Arguments as for QV_GetWinCCD;
 *   frames   number of frames; 0 or less reads nothing
 *   y        counted from the end of the last image area
 *   buffers  one for each frame, width (made even) x height pixels; a null one ends the series, 16
 * The sensor is cleared once at most, ahead of the series. Holds the service off. The first error
 * ends the series: 2, and leaves the service held off.
 */
QVN_API void QV_Kinetics(int32_t shutter, double exposure, int32_t frames, int32_t x, int32_t y,
                         int32_t width, int32_t height, uint16_t **buffers, int32_t camera);

/*
 * A series in one frame: with the shutter open the charge is shifted `shifts` times by `lines`
 * lines, `interval` seconds apart; then the shutter closes and the frame is read. Open the shutter
 * with QV_ShutterControl before. Charge is shifted on platforms 40 to 42 and 44 to 47; on others
 * only the time passes. `buffer` as for QV_GetCCD. The sensor has to hold shifts x lines lines,
 * which nothing checks. Errors and service as for QV_GetCCD.
 */
QVN_API void QV_KineticsCCD(int32_t shutter, double interval, int32_t shifts, int32_t lines,
                            uint16_t *buffer, int32_t camera);

/* ------------------------------------------------------------------------- */
/* Armed acquisition                                                         */
/* ------------------------------------------------------------------------- */

/*
 * A frame in steps, on the interface card's platforms 24, 30, 42, 44 and 47; nothing on others,
 * save that QV_ArmAcquisition stores the exposure. None of the steps reports an error, checks the
 * order or holds the service off: put QV_StopNow and QV_StartNow around them.
 *
 * QV_ArmAcquisition    stores the exposure, seconds; on platform 47 readies camera and card
 * QV_StartAcquisition  mode 1 starts now; any other waits for the camera's external input, without
 *                      limit. On all but 47 it blocks for the exposure.
 * QV_GetImage          copies the frame: sensor columns x sensor rows pixels, whatever the window.
 *                      Call it when the frame has arrived; it does not wait.
 * QV_FlushAcquisition  gives a frame up
 */
QVN_API void QV_ArmAcquisition(double exposure, int32_t camera);
QVN_API void QV_StartAcquisition(int32_t mode, int32_t camera);
QVN_API void QV_GetImage(uint16_t *buffer, int32_t camera);
QVN_API void QV_FlushAcquisition(int32_t camera);

/*
 * Takes the service's timer, which all cameras share, into the host's hands:
 *   QV_TIMER_DISARM  opens no longer create the timer, nor wait for it
 *   QV_TIMER_ARM     the next open creates it: as at load
 *   QV_TIMER_START   creates it now; end it with QV_TIMER_END before cameras are closed
 *   QV_TIMER_END     waits, without limit, until the timer is out of the camera, and ends it
 * Others do nothing. With the timer disarmed, calls that hold the service off of a camera with
 * QV_OPTION_SERVICE or QV_OPTION_REGULATION wait for good until QV_TIMER_START.
 */
QVN_API void QV_ArmTimerHandle(int32_t action, int32_t camera);

/* ------------------------------------------------------------------------- */
/* Array mode                                                                */
/* ------------------------------------------------------------------------- */

/*
 * Opens up to eight camera heads behind one interface card as one camera. `arrayConfig` is 8
 * bytes, of which the second 16-bit word is used: bit n tells that head n is fitted. Platforms 42
 * and 44, else error 12. The fourth argument is not used; the others, and the errors, are those of
 * QV_Open. With QV_OPTION_SERVICE or QV_OPTION_REGULATION the array has to be camera 1: under any
 * other number the call never returns. Background work ends at the first exposure. An array that is
 * closed with one of these options counts as a served camera less, though it was never counted as
 * one more: from then on the service of the others ends while one of them is still open.
 */
QVN_API void QV_OpenArray(const void *arrayConfig, int32_t platform, int32_t ccd, int32_t unused,
                          uint32_t options, int32_t camera, QvExposureCallback exposureCallback,
                          QvProgressCallback progressCallback);

/*
 * Exposes all heads together, then reads them one after the other. `exposures` has eight entries,
 * in seconds, and `buffers` eight pointers, both indexed by head; a buffer takes (sensor columns /
 * horizontal binning) x (sensor rows / vertical binning) pixels. Blocks for the longest exposure.
 * A head that fails is not reported. Holds the service off, and raises the priority.
 */
QVN_API void QV_AGetCCD(int32_t shutter, const double *exposures, uint16_t **buffers,
                        int32_t camera);

/* ------------------------------------------------------------------------- */
/* Image correction in the camera                                            */
/* ------------------------------------------------------------------------- */

/*
 * Digital noise reduction: modes 0 to 4 take 0, 3, 5, 7, 9 samples of each pixel; others are
 * ignored. Acts on platforms 25 and 47; QV_GetDNR gives the mode on all. Holds the service off.
 */
QVN_API void QV_SetDNR(int32_t mode, int32_t camera);
QVN_API int32_t QV_GetDNR(int32_t camera);

/*
 * Fewer bits a pixel: modes 0 to 4, others are ignored. Acts on platforms 25, 28, 47, 61, 200,
 * 205, 300 and 450, and ends noise reduction there (on 300 and 450 it does not). Holds the service
 * off. Error 25 on platforms 300 and 450.
 */
QVN_API void QV_SetBitDecimation(int32_t mode, int32_t camera);

/* ------------------------------------------------------------------------- */
/* Temperature                                                               */
/* ------------------------------------------------------------------------- */

/*
 * Sets the target and starts cooling and regulation. `units` QV_KELVIN, QV_CELSIUS, QV_FAHRENHEIT;
 * with any other the target stays as it was. Regulation takes place where temperatures are read
 * with QV_OPTION_REGULATION: in the background, and in exposures above 0.5 seconds; or where the
 * host calls QV_TemperatureHandle itself. The drive starts at 30 percent if it was 0 and
 * regulation was off, and moves by a tenth of a percent a step. A target with more than one
 * decimal is held, but never reported as reached. Holds the service off.
 */
QVN_API void QV_SetTemp(double temperature, int32_t units, int32_t camera);

/*
 * The last reading, in `units`; any other unit gives Celsius. Does not talk to the camera.
 * With `text` not null and not an empty string the reading is printed there too, signed and with 1
 * to 3 decimals by platform and the decimal sign of the host's LC_NUMERIC, or "INIT" for a reading
 * of exactly 1000. So put a character into the buffer before: an empty text is left alone. The
 * buffer takes at least 32 characters.
 */
QVN_API double QV_GetTemp(char *text, int32_t units, int32_t camera);

/*
 * Reads the temperature now, in the caller's thread; error 2 and result 0 if that failed. Does not
 * hold the service off: put QV_StopNow and QV_StartNow around it. The converted value becomes the
 * camera's last reading: with Kelvin or Fahrenheit, QV_GetTemp and the regulator take that number
 * for Celsius until the next reading. QV_CELSIUS is always safe.
 */
QVN_API double QV_ReadTemp(int32_t units, int32_t camera);

/*
 * Switches the cooler. 0 also ends regulation, and keeps the drive for the next QV_SetTemp. Any
 * other value switches on without regulating. Holds the service off.
 */
QVN_API void QV_Cooler(int32_t on, int32_t camera);

/* QV_COOLER_...; after QV_Cooler the low byte of its argument, -128 to 127. */
QVN_API int32_t QV_CoolerStatus(int32_t camera);

/*
 * Sets the drive by hand, 0.0 to 100.0 percent; other values are ignored, and so is one that
 * equals the present drive cut to whole percents. Does not stop the regulator. Holds the service
 * off.
 */
QVN_API void QV_SetPower(double percent, int32_t camera);

/* The drive in percent, in steps of 0.1. */
QVN_API double QV_GetPower(int32_t camera);

/*
 * Calibration of the sensor's temperature, in place of the one of open: degrees and a factor. Most
 * platforms calculate (reading + offset) x span. Reaches cameras whose number equals their
 * sub-camera number, and platforms 28 on USB, 29, 48, 61, 200, 205, 300 and 450. At open it comes
 * from the camera's memory or, on platforms 61, 300 and 450, from TemperatureOffset and
 * TemperatureSpan in camera.cfg (1.0 and 1.0 without that file).
 */
QVN_API void QV_TempCalib(double offset, double span, int32_t camera);

/*
 * One reading and one turn of the regulator, as the service does it: 0, or 1 if the reading
 * failed. For hosts that regulate without the service, twice a second.
 */
QVN_API int32_t QV_TemperatureHandle(int32_t camera);

/*
 * Copies QV_HISTORY_LENGTH readings, degrees Celsius, to `buffer` and returns how many are valid,
 * the oldest first. Camera 0 only: others give zeros and 0. From 7200 readings on, an hour at two
 * a second, the result stays 7199, the newest reading is the last of the 7200, and only the first
 * 900 of the others still move on.
 */
QVN_API int32_t QV_GetTempHistory(double *buffer, int32_t camera);

/*
 * 1 if the last `count` readings all lie within `tolerance` degrees of the target, limits
 * included, else 0; also 0 with fewer readings. A count of 0 or less gives 1. Camera 0 only:
 * others give 0.
 */
QVN_API int32_t QV_CheckTempEquil(int32_t count, double tolerance, int32_t camera);

/* ------------------------------------------------------------------------- */
/* Shutter and trigger                                                       */
/* ------------------------------------------------------------------------- */

/* Opens the shutter for a time, by the camera's own counter. Does not hold the service off. */
QVN_API void QV_Shutter(double seconds, int32_t camera);

/*
 * Nonzero holds the shutter open, 0 releases it. Platforms 25, 44 and 47; nothing on others. While
 * it is held, exposures on platform 25 leave it alone. Holds the service off.
 */
QVN_API void QV_ShutterControl(int32_t on, int32_t camera);

/*
 * The external trigger input. With `wait` 0: 1 if it has been triggered, else 0, at once.
 * Otherwise waits for it, without limit and without regard to QV_BrkFlg, and returns `wait`.
 */
QVN_API int32_t QV_Trigger(int32_t wait, int32_t camera);

/* ------------------------------------------------------------------------- */
/* Filter wheel                                                              */
/* ------------------------------------------------------------------------- */

/*
 * The wheel at the camera; CameraConfig.FilterWheel tells its kind. They hold the service off and
 * block until the wheel has moved, up to several seconds; kind 4 without limit if it does not
 * answer. A wheel that the platform does not have: nothing.
 *
 * QV_SetFilter  to a position, from 1. A stepper goes from where it is believed to be.
 * QV_CalibFW    finds the zero position. Error 7: not found.
 * QV_OpenFW     stores setting, hold and zeroOffset, finds zero, hands the values to the wheel.
 *               Error 7. `hold` 0 takes the current from a stepper after each move; `zeroOffset` is
 *               in steps.
 *               On platform 48 it does what QV_SetFW does.
 * QV_SetFW      stores the values and hands them to a controller, which goes to zero first on
 *               platforms 22 to 47. A stepper has them with its next move. Error 25 on platforms
 *               300 and 450; the other calls end with 0 there, whatever was answered.
 * On platform 48 QV_SetFilter and QV_CalibFW leave the wheel's own answer as the status.
 */
QVN_API void QV_SetFilter(int32_t position, int32_t camera);
QVN_API void QV_CalibFW(int32_t camera);
QVN_API void QV_OpenFW(int32_t setting, int32_t hold, int32_t zeroOffset, int32_t camera);
QVN_API void QV_SetFW(int32_t setting, int32_t hold, int32_t zeroOffset, int32_t camera);

/* The kind of wheel, CameraConfig.FilterWheel: 0 none. */
QVN_API int32_t QV_IsThereFW(int32_t camera);

/* ------------------------------------------------------------------------- */
/* Objective and plug-in device                                              */
/* ------------------------------------------------------------------------- */

/*
 * Runs one of the three motors of an objective, platforms 44 to 47; nothing on others. Operations
 * 0, 1, 2 run motor 1, 2, 0 to its end for three seconds; 3 and 4, 5 and 6, 7 and 8 run motors 1,
 * 2, 0 one way and the other for `milliseconds` and brake for 100 ms. Others do nothing. Holds the
 * service off and blocks.
 */
QVN_API void QV_ObjectiveControl(int32_t operation, uint16_t milliseconds, int32_t camera);

/*
 * Hands values to a plug-in device and returns 0. Platforms 300 and 450: four values, of the last
 * one the low 16 bits; error 25. Platform 29: two values, waits without limit. `what` is not used.
 * Holds the service off; takes 100 ms at least.
 */
QVN_API int32_t QV_Plug(int32_t what, uint32_t *values, int32_t camera);

/* ------------------------------------------------------------------------- */
/* Binning, gain, fan                                                        */
/* ------------------------------------------------------------------------- */

/*
 * Binning, both at least 1: builds and loads a new clock pattern for the full frame. The image
 * becomes (sensor columns / horizontal, made even) x (sensor rows / vertical). Error 8: the
 * pattern does not fit, 22, 23; binning and image size then stay as they were. So they do if a
 * status is left over from an earlier call, on the simulated camera too: a frame that arrives
 * clears it. Values below 1 build nothing. Holds the service off. QV_GetBinning writes the current
 * values.
 */
QVN_API void QV_SetBinning(int32_t horizontal, int32_t vertical, int32_t camera);
QVN_API void QV_GetBinning(int32_t *horizontal, int32_t *vertical, int32_t camera);

/*
 * Gain setting: 0 to 3 from the platform's table, 4 the values of QV_SetUsrGain; on the simulated
 * camera 0 to 4 stand for factors 1, 2, 5, 10, 20. Other values must not be given: nothing checks.
 * Returns what the driver returned, 0. Error 25 on platforms 300 and 450. Holds the service off.
 */
QVN_API int32_t QV_SetGain(int32_t index, int32_t camera);
QVN_API int32_t QV_GetGain(int32_t camera);

/*
 * Gain setting 4: `gain` 0 to 255, `high` 0 or 1 for the high range, `offset` 0 to 511 of the
 * front end; wider values are cut. Errors and service as for QV_SetGain.
 */
QVN_API void QV_SetUsrGain(int32_t gain, int32_t high, int32_t offset, int32_t camera);

/*
 * Fan, 0.0 to 100.0 percent, not checked. Platforms 28, 29, 48, 61, 200, 205, 300 and 450; nothing
 * on others. Holds the service off.
 */
QVN_API void QV_SetFanSpeed(double percent, int32_t camera);

/* ------------------------------------------------------------------------- */
/* Interface card                                                            */
/* ------------------------------------------------------------------------- */

/* The bus address of the card's register window; 0 ahead of open. */
QVN_API uint32_t QV_GetKZBPCIAddress(int32_t camera);

/* The card's revision after QV_Select(selected); 65535 if `camera` has no open card. */
QVN_API uint32_t QV_GetKZBPCIRevision(int32_t selected, int32_t camera);

/* ------------------------------------------------------------------------- */
/* Camera memory, serial number, registers: for service                      */
/* ------------------------------------------------------------------------- */

/*
 * Words of the camera's own memory: 0 temperature offset and 1 span in tenths, 7 and 8 serial
 * number, 9 kind of temperature sensor, 10 format of the serial number. Reading gives 65535 or 0
 * where there is no memory. Writing erases the word first; on the simulated camera and on
 * platforms 61, 200 and 400 it does nothing. Both hold the service off.
 */
QVN_API uint16_t QV_ReadEP(int32_t address, int32_t camera);
QVN_API void QV_WriteEP(int32_t address, int32_t value, int32_t camera);

/* The serial number; -1 if none is stored. Holds the service off. */
QVN_API int32_t QV_GetSerNum(int32_t camera);

/*
 * Stores a serial number. `format` 0: binary. Otherwise decimal: the upper word is serial /
 * 100000, the lower one serial - upper, cut to 16 bits, so that only numbers below 65535 read back
 * as stored. Holds the service off and sleeps 150 ms.
 */
QVN_API void QV_SetSerNum(int32_t serial, int32_t format, int32_t camera);

/*
 * Camera registers. QV_WRReg and QV_RDReg write and read the camera, QV_WMReg and QV_RMReg the
 * library's image of its registers: 32, or 256 of a byte on platforms 70 and 71; other numbers are
 * taken modulo that. These, and all that follow, do not hold the service off unless said.
 */
QVN_API void QV_WRReg(int32_t reg, int32_t value, int32_t camera);
QVN_API uint16_t QV_RDReg(int32_t reg, int32_t camera);
QVN_API uint16_t QV_RMReg(int32_t reg, int32_t camera);
QVN_API void QV_WMReg(int32_t reg, int32_t value, int32_t camera);

/* A status word of the camera, 0 to 15: 7 general, 9 power, 15 hardware version. */
QVN_API uint32_t QV_GetStatus(int32_t number, int32_t camera);

/* Pattern and camera memory by bytes and by words. QV_Poke stops the pattern generator. */
QVN_API void QV_Poke(int32_t address, int32_t value, int32_t camera);
QVN_API int32_t QV_Peek(int32_t address, int32_t camera);
QVN_API void QV_PokeW(int32_t address, int32_t value, int32_t camera);
QVN_API int32_t QV_PeekW(int32_t address, int32_t camera);

/*
 * Platforms 44 and 47: `which` 1 gives 1 if the power status is not zero in one of two
 * readings 20 ms apart, 2 gives 1 while a transfer of the card runs, and where no card is
 * open. 0 otherwise, and on other platforms.
 */
QVN_API int32_t QV_QuerySts(int32_t which, int32_t camera);

/* Platform 205: mean of 64 conversions of a spare channel; 0 on others. Holds the service off. */
QVN_API int32_t QV_GetAD(int32_t channel, int32_t camera);

#ifdef __cplusplus
}
#endif

#endif
