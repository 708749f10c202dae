// On-screen display: the title overlay (type 1) and the time stamp (type 2).
#include <cstring>
#include <cstdlib>
#include <string>
#include <vector>

#include "sdk/ParamFrame.h"
#include "sdk/ParamSplit.h"

using namespace kovo::param;

namespace {

constexpr int kTitleType = 1;
constexpr int kTimeType = 2;

const char kTypeInvalid[] = "GetOSDRegion[%d] only can set title and date type.\n";

const Field kTitleDisplay = KOVO_FIELD(OSD_REGION, titledisplay, "TitleDisplay", SwitchOn);
const Field kTitleChar = KOVO_FIELD(OSD_REGION, title, "TitleChar", Text);
const Field kTimeDisplay = KOVO_FIELD(OSD_REGION, timedisplay, "TimeDisplay", SwitchOn);
const Field kTimeMode = KOVO_FIELD(OSD_REGION, timemode, "TimeMode", Int);

// The Set writes four-digit years, the Get knows only two-digit names.
const char* const kTimeFormatNamesRead[] = {nullptr, "DD-MM-YY", "MM-DD-YY"};
const Words kTimeFormatRead = words(kTimeFormatNamesRead, 0, 0);
const Field kTimeFormatGet = KOVO_WORD_FIELD(OSD_REGION, timeformat, "TimeFormat", IntWordGet, &kTimeFormatRead);

const char* timeFormatName(int format) {
    if (format == 1) return "DD-MM-YYYY";
    if (format == 2) return "MM-DD-YYYY";
    return "YYYY-MM-DD";
}

// Compares a colour array that may lack a terminator.
bool validColor(const char (&color)[32]) {
    const std::string text(color, strnlen(color, sizeof color));
    return text == "White" || text == "Black" || text == "Gray";
}

bool validPosition(int h, int v) { return h >= 0 && h <= 100 && v >= 0 && v <= 100; }

std::string attributeLine(const char* key, const char (&color)[32], int h, int v) {
    return std::string(key) + ": " + std::string(color, strnlen(color, sizeof color)) + ", " +
           std::to_string(h) + ", " + std::to_string(v);
}

void parseAttributes(OSD_REGION* pOSD, const char* src) {
    if (!pOSD || !src) return;
    std::vector<std::string> parts;
    if (SplitString(src, parts) != 3) return;
    copyBounded(pOSD->titlecolor, sizeof pOSD->titlecolor, parts[0].c_str());
    pOSD->titleh = std::atoi(parts[1].c_str());
    pOSD->titlev = std::atoi(parts[2].c_str());
}

// Record checks and lines of the title overlay; false after tracing a rejection.
bool addTitleLines(Exchange& ex, const OSD_REGION& osd) {
    if (!validColor(osd.titlecolor)) {
        KovoTrace("SetOSDRegion[%d] title color invalid.\n", __LINE__);
        return false;
    }
    if (!validPosition(osd.titleh, osd.titlev)) {
        KovoTrace("SetOSDRegion[%d] titleh or titlev invalid.\n", __LINE__);
        return false;
    }
    ex.addLine(composeLine(kTitleDisplay, &osd));
    ex.addLine(attributeLine("TitleAttrib", osd.titlecolor, osd.titleh, osd.titlev));
    ex.addLine(composeLine(kTitleChar, &osd));
    return true;
}

bool addTimeLines(Exchange& ex, const OSD_REGION& osd) {
    if (osd.timemode != 1 && osd.timemode != 2) {
        KovoTrace("SetOSDRegion[%d] time mode invalid.\n", __LINE__);
        return false;
    }
    if (!validColor(osd.timecolor)) {
        KovoTrace("SetOSDRegion[%d] time color invalid.\n", __LINE__);
        return false;
    }
    if (!validPosition(osd.timeh, osd.timev)) {
        KovoTrace("SetOSDRegion[%d] timeh or timev invalid.\n", __LINE__);
        return false;
    }
    ex.addLine(composeLine(kTimeDisplay, &osd));
    ex.addLine(std::string("TimeFormat: ") + timeFormatName(osd.timeformat));
    ex.addLine(composeLine(kTimeMode, &osd));
    ex.addLine(attributeLine("TimeAttrib", osd.timecolor, osd.timeh, osd.timev));
    return true;
}

}  // namespace

int SplitString(const char* src, std::vector<std::string>& out) {
    if (!src) return 0;
    std::string current;
    for (const char* p = src; *p; ++p) {
        if (*p == ' ') {
            out.push_back(current);
            current.clear();
        } else if (*p != ',') {
            current += *p;
        }
    }
    if (!current.empty()) out.push_back(current);
    return static_cast<int>(out.size());
}

// Both attributes land in the title fields: callers of the time Get read
// the time stamp's colour and position there.
void OSDGetTitleAttrib(OSD_REGION* pOSD, const char* src) { parseAttributes(pOSD, src); }

void OSDGetTimeAttrib(OSD_REGION* pOSD, const char* src) { parseAttributes(pOSD, src); }

long Kovo_SetOSDRegion(long lDeviceID, int nChannel, int nOsdType, OSD_REGION* pOsdRegion) {
    if (!pOsdRegion || !validDevice(lDeviceID) || !validChannel(nChannel))
        return traceAndReturn("SetOSDRegion[%d] input invalid.\n", __LINE__, kInvalidArg);
    if (nOsdType != kTitleType && nOsdType != kTimeType) return traceAndReturn(kTypeInvalid, __LINE__, kInvalidArg);
    Exchange ex(lDeviceID);
    if (!ex.found()) return traceAndReturn("SetOSDRegion[%d] device null.\n", __LINE__, kNoDevice);
    ex.useConnectionMrl();
    const bool accepted = nOsdType == kTitleType ? addTitleLines(ex, *pOsdRegion) : addTimeLines(ex, *pOsdRegion);
    if (!accepted) return outcome(kInvalidArg);
    if (ex.send(true) != 200) return traceAndReturn("SetOSDRegion [%d] set title failed.\n", __LINE__, kFailed);
    return traceAndReturn("SetOSDRegion Successfully\n", __LINE__, kOk);
}

long Kovo_GetOSDRegion(long lDeviceID, int nChannel, int nOsdType, OSD_REGION* pOsdRegion) {
    if (!validDevice(lDeviceID) || !validChannel(nChannel) || !pOsdRegion)
        return traceAndReturn("GetOSDRegion[%d] Invalid input.\n", __LINE__, kInvalidArg);
    if (nOsdType != kTitleType && nOsdType != kTimeType) return traceAndReturn(kTypeInvalid, __LINE__, kInvalidArg);
    Exchange ex(lDeviceID);
    if (!ex.found()) return traceAndReturn("GetOSDRegion[%d] device null.\n", __LINE__, kNoDevice);
    ex.useConnectionMrl();
    if (nOsdType == kTitleType) {
        ex.addLine(kTitleDisplay.key);
        ex.addLine("TitleAttrib");
        ex.addLine(kTitleChar.key);
        if (ex.send(false) != 200)
            return traceAndReturn("GetOSDRegion[%d] get title setting failed.\n", __LINE__, kFailed);
        if (const char* value = ex.answer(kTitleDisplay.key)) convertAnswer(kTitleDisplay, value, pOsdRegion);
        OSDGetTitleAttrib(pOsdRegion, ex.answer("TitleAttrib"));
        if (const char* value = ex.answer(kTitleChar.key)) convertAnswer(kTitleChar, value, pOsdRegion);
    } else {
        ex.addLine(kTimeDisplay.key);
        ex.addLine(kTimeFormatGet.key);
        ex.addLine(kTimeMode.key);
        ex.addLine("TimeAttrib");
        if (ex.send(false) != 200)
            return traceAndReturn("GetOSDRegion[%d] get time setting failed.\n", __LINE__, kFailed);
        for (const Field* field : {&kTimeDisplay, &kTimeFormatGet, &kTimeMode}) {
            if (const char* value = ex.answer(field->key)) convertAnswer(*field, value, pOsdRegion);
        }
        OSDGetTimeAttrib(pOsdRegion, ex.answer("TimeAttrib"));
    }
    return traceAndReturn("GetOSDRegion Successfully\n", __LINE__, kOk);
}
