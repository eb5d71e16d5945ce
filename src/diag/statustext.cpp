/*
 * Status-code texts: names of the communication result codes, messages
 * decorated with the product status or the system error number they came
 * from, and the table of device-management error texts.
 *
 * Each function writes into a static buffer of its own, overwritten by its
 * next call (from any thread).
 */
#include "platform/errtext.h"
#include "twcommon/diag.h"
#include "twcommon/text.h"

extern "C" {

// Declared (and exported) in diag.h, which gives the constant table external linkage.
const char *const ErrStrings[84] = {
    "Invalid Drive Type/Density",
    "Drive is currently assigned",
    "Error in Sending Operator Message",
    "Error in Receiving Operator Message",
    "Error in Sending Daemon Message",
    "Error in Receiving Daemon Message",
    "Error in Sending User Message",
    "Error in Receiving User Message",
    "Drive is currently reserved",
    "IPC sequence error",
    "One implicit reserve already exists",
    "Invalid Operator",
    "Error in IPC SHMGET call",
    "Error in IPC SHMAT call",
    "The drive is DOWN",
    "No mount pending for given mount index",
    "Drive does not support pending request density",
    "Invalid volume count",
    "Only the administrative user can perform the requested operation",
    "Cannot stop device daemon with tapes assigned",
    "The drive is not ready or inoperable",
    "IPC Error: Daemon may not be running",
    "Invalid Drive Number",
    "Requested drive could not be reserved",
    "File name does not exist",
    "Request terminated because host not validated for volume pool",
    "Request terminated because media ID is expired",
    "Error in MsgGet",
    "Magic Number Mismatch",
    "Request terminated because media ID will exceed maximum mount count",
    "Requested number of drives are not configured",
    "Error in getting semaphore",
    "Error in SEMAPHORE operation",
    "Error in getting semaphore for operator",
    "Request terminated because media is unavailable (in DOWN drive, misplaced, write protected or unmountable)",
    "Request terminated by tpunmount call from another process",
    "Drive being assigned is either not NDMP or on the wrong NDMP client",
    "Character device name for drive is not a character device",
    "Parameter is invalid",
    "File name already exists",
    "Unknown drive name",
    "Incorrect tpreq access mode",
    "Drive is not a shared drive",
    "You do not have permission to create the file",
    "Drive is not currently reserved for this host",
    "Tape needs to be write enabled",
    "Unable to establish scan host for shared drive",
    "Host is not the scan host for this shared drive",
    "Tape file path exceeds 255 character maximum",
    "No action pending for given mount index",
    "Frequency-based cleaning is not supported for this drive",
    "No robot is defined of this type",
    "Request has been queued (Cancel to clear message)",
    "Block device name for optical disk is not a block device",
    "Operator denied mount request",
    "Mount canceled, device daemon is terminating",
    "Cannot assign due to media ID mismatch",
    "The device is not robotic, cannot perform cleaning",
    "No cleaning tape is defined in the device's robot or 0 cleanings remaining",
    "No robot daemon or robotics are unavailable",
    "No media found in device or robot slot, please verify",
    "Drive not available in library for mount request",
    "Request terminated because mount requests are disabled",
    "Cannot assign a robotically controlled device",
    "Invalid volume pool specified",
    "Request terminated because of volume pool mismatch",
    "Request terminated because user not validated for volume pool",
    "Request terminated because user/group not validated for volume pool",
    "Request terminated because media is unmountable",
    "Request terminated because media is write protected",
    "Request terminated because media is a cleaning tape",
    "Merlow library call failed",
    "Stopping device daemon with tapes assigned",
    "Robot operation failed",
    "LTI system error",
    "Robot/LTI protocol error",
    "Gatrix access denied",
    "Unable to connect to the Merlow server",
    "Can not retrieve Job ID from Job Manager",
    "Job Manager returned error: see activity monitor",
    "Retry later",
    "No drive available",
    "Media does not exist in database",
    "No Error on operation, sideband data only",
};

const char *commerrstr(int code) {
    static char text[80];
    const char *name = nullptr;
    switch (code) {
    case 0: name = "success"; break;
    case -1: name = "incoming data too large for buffer"; break;
    case -2: name = "connection timed out"; break;
    case -3: name = "network read error"; break;
    case -4: name = "network write error"; break;
    case -5: name = "connection dropped or not connected"; break;
    case -6: name = "pipe broken"; break;
    case -7: name = "interrupted"; break;
    case -8: name = "unexpected interrupt"; break;
    case -9: name = "premature end of file encountered"; break;
    case -11: name = "unable to allocate memory"; break;
    case -12: name = "operation would block"; break;
    case -13: name = "unexpected message received"; break;
    default: break;
    }
    if (name)
        Q_strlcpy(text, name, sizeof text);
    else
        Q_snprintf(text, sizeof text, "%s %d", "unknown error", code);
    return text;
}

const char *ERR_TWmsgstr(int status, const char *text) {
    static char message[1024];
    Q_snprintf(message, sizeof message, "%s (TW:%i)", text ? text : "", status);
    return message;
}

const char *ERR_SYSmsgstr(int errnum) {
    static char message[1024];
    const char *system_text = tw::os::runtime_error_text(errnum);
    Q_snprintf(message, sizeof message, "%s (SYS:%i)", system_text ? system_text : "Unknown error: ", errnum);
    return message;
}

}  // extern "C"
