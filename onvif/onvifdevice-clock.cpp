// How far a camera's clock is off, asked without credentials.

#include <ctime>
#include <string_view>

#include "onvif/onvifdevice.h"
#include "onvif/onvifnumber.h"
#include "onvif/onvifreply.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::system_clock;

// Unsigned, because a camera whose clock is off refuses every signed request. The standard opens this one to everybody.
constexpr std::string_view k_strAskTime =
    "<s:Envelope xmlns:s=\"http://www.w3.org/2003/05/soap-envelope\"><s:Body>"
    "<GetSystemDateAndTime xmlns=\"http://www.onvif.org/ver10/device/wsdl\"/></s:Body></s:Envelope>";

// Where a number of the answer stands, what it may be, and where it goes; `std::tm` counts years from 1900, months
// from 0.
struct TIME_ROW {
  const char* pPath;
  int nLeast;
  int nMost;
  int std::tm::*pnField;
  int nBase;
};

constexpr TIME_ROW k_rgTime[] = {
    {"//tt:Date//tt:Year", 1970, 9999, &std::tm::tm_year, 1900}, {"//tt:Date//tt:Month", 1, 12, &std::tm::tm_mon, 1},
    {"//tt:Date//tt:Day", 1, 31, &std::tm::tm_mday, 0},          {"//tt:Time//tt:Hour", 0, 23, &std::tm::tm_hour, 0},
    {"//tt:Time//tt:Minute", 0, 59, &std::tm::tm_min, 0},        {"//tt:Time//tt:Second", 0, 60, &std::tm::tm_sec, 0},
};

milliseconds SinceEpoch(system_clock::time_point time) {
  return std::chrono::duration_cast<milliseconds>(time.time_since_epoch());
}

}  // namespace

RET_ONVIF OnvifDeviceService::MeasureClockOffset(milliseconds& offset) {
  const XmlSilence silence;
  const XmlDoc pRequest(
      xmlReadMemory(k_strAskTime.data(), static_cast<int>(k_strAskTime.size()), nullptr, nullptr, XML_PARSE_NONET));
  if (!pRequest) return RET_ONVIF_XML_FAIL;
  const milliseconds before = SinceEpoch(system_clock::now());
  const OnvifReply reply = Exchange(pRequest.get());
  const milliseconds after = SinceEpoch(system_clock::now());
  if (reply.eRet != RET_ONVIF_OK) return reply.eRet;
  std::tm utc{};
  for (const TIME_ROW& row : k_rgTime) {
    std::string strText;
    const std::string strPath = std::string("//tds:GetSystemDateAndTimeResponse//tt:UTCDateTime") + row.pPath;
    if (GetNodeContentByPath(reply.pDoc.get(), strPath, strText) != RET_ONVIF_OK) return RET_ONVIF_XML_FAIL;
    const int nNumber = ReadDecimal(strText);
    if (nNumber < row.nLeast || nNumber > row.nMost) return RET_ONVIF_XML_FAIL;
    utc.*row.pnField = nNumber - row.nBase;
  }
  const std::time_t nCamera_s = timegm(&utc);
  if (nCamera_s == -1) return RET_ONVIF_XML_FAIL;
  // The camera tells whole seconds: on the average it is half a second later, and half of the exchange has passed.
  constexpr milliseconds halfSecond(500);
  offset = std::chrono::seconds(nCamera_s) + halfSecond - (before + after) / 2;
  return RET_ONVIF_OK;
}
