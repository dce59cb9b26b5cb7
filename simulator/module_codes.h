#pragma once

#include <cstdint>

namespace zel::simulator {

// The module's own result codes. Hosts have texts for the first ones...
inline constexpr std::int32_t kFailed = -1;
inline constexpr std::int32_t kIndexOutOfRange = -1000000;
inline constexpr std::int32_t kUnknownMethod = -1000203;
inline constexpr std::int32_t kInvalidParameters = -1000255;
inline constexpr std::int32_t kXmlError = -1004135;
inline constexpr std::int32_t kFileWrite = -1004199;
inline constexpr std::int32_t kFileNotFound = -1004201;
inline constexpr std::int32_t kBadParameter = -1016045;
inline constexpr std::int32_t kFileTooLarge = -1016049;
inline constexpr std::int32_t kNoTagSuchAs = -1004111;
inline constexpr std::int32_t kOutOfRange = -1004110;
inline constexpr std::int32_t kUnknownAttribute = -1004109;
inline constexpr std::int32_t kWrongChoice = -1004107;
inline constexpr std::int32_t kWrongAddress = -1004118;
inline constexpr std::int32_t kWrongType = -1004153;
inline constexpr std::int32_t kSettingRefused = -1004160;
inline constexpr std::int32_t kInvalidPath = -1004138;
inline constexpr std::int32_t kInvalidView = -1004142;
inline constexpr std::int32_t kNotReadable = -1004144;
inline constexpr std::int32_t kInvalidControlParameter = -1014300;
inline constexpr std::int32_t kNoSuchConnector = -1014801;
inline constexpr std::int32_t kNoTeds = -1014374;
inline constexpr std::int32_t kZeroNotPossible = -1014305;
inline constexpr std::int32_t kSignalSwitchedOff = -1014023;
inline constexpr std::int32_t kBlockTooSmall = -1014025;
inline constexpr std::int32_t kNothingSubscribed = -1014030;
inline constexpr std::int32_t kBufferOverrun = -1014085;
inline constexpr std::int32_t kSignalUnknown = -1014102;
inline constexpr std::int32_t kScalingNotPossible = -1014112;
inline constexpr std::int32_t kNoTimeServer = -1515600;

// ...and ask the module for those of the others.
inline constexpr std::int32_t kReadOnly = -1004190;
inline constexpr std::int32_t kTedsDoesNotFit = -120197;
inline constexpr std::int32_t kTedsPageDoesNotFit = -120195;
inline constexpr std::int32_t kNoSuchControl = -1014391;
inline constexpr std::int32_t kSensorSwitchedOff = -1014999;
inline constexpr std::int32_t kOverflow = -1014998;
inline constexpr std::int32_t kNoFileChosen = -1004291;
inline constexpr std::int32_t kNoFirmwareReceived = -1004292;
inline constexpr std::int32_t kFlashingRuns = -1004293;

} // namespace zel::simulator
