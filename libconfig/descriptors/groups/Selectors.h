// The values of those selectors that rows of other groups refer to. Internal.
#pragma once

namespace qel::config {

enum VideoInput : unsigned {
  kVideoInSDI,
  kVideoInComponent,
  kVideoInHDMI,
  kVideoInGenerator,
};

enum AudioInput : unsigned {
  kAudioInEmbedded,
  kAudioInAES,
  kAudioInAnalog,
  kAudioInGenerator,
};

enum Conversion : unsigned {
  kConvertOff,
  kConvertSDTo720,
  kConvertSDTo1080,
  kConvert720To1080,
  kConvert1080To720,
  kConvertHDToSD,
};

enum ComponentSignal : unsigned {
  kPrimaryYPbPr,
  kPrimaryRGB,
  kSecondaryYPbPr,
  kSecondaryRGB,
  kComposite,
};

// The proxy of the timecode input goes by these numbers.
enum RemoteControl : unsigned {
  kRemoteLocal,
  kRemoteRS422,
  kRemoteFireWire,
};

enum EncodeMode : unsigned {
  kEncodeConstantRate,
  kEncodeVariableRate,
};

enum PlayChoice : unsigned {
  kPlayClip,
  kPlayAllClips,
  kPlayPlaylist,
};

enum GangRole : unsigned {
  kGangMember,
  kGangMaster,
};

}  // namespace qel::config
