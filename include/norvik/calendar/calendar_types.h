#pragma once
// The calendars a date or a repeat can be expressed in, and the text locales the calendar texts are
// written in, in their stored and exchanged identifier form.
//
// The predefined values are process-wide singletons made once on first use and immutable, so they
// may be read from any thread and compared by identity (pointer equality): code that looks for a
// calendar type compares with the singletons themselves, never with an equal string.
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace norvik {

class NVCalendarDateType {
 public:
  // A new type holding a copy of `rawValue`; any string is accepted, also one outside the table.
  static std::shared_ptr<const NVCalendarDateType> initWithRawValue(std::string_view rawValue);

  // The calendar identifier: "lunar", "korean-lunar", "hijri", "hebcal", "shaka", "persian",
  // "vietnam", "hijri-kuwaiti", "hijri-saudi", or "" for none.
  const std::string& rawValue() const { return rawValue_; }
  // The localized display name of the identifier ("Chinese Lunar", "Hijri（Civil）", ...); the
  // localized "None" for the empty identifier and any identifier outside the table (matching is
  // exact and case-sensitive). An untranslated name comes back as its English key.
  std::string getDisplayName() const;

  // The ten predefined types in a fixed order, NONE first and HIJRI_SAUDI last. Built once; every
  // call returns the same list.
  static const std::vector<std::shared_ptr<const NVCalendarDateType>>& allCases();

  static const std::shared_ptr<const NVCalendarDateType>& NONE();           // ""
  static const std::shared_ptr<const NVCalendarDateType>& LUNAR();          // "lunar"
  static const std::shared_ptr<const NVCalendarDateType>& KOREAN();         // "korean-lunar"
  static const std::shared_ptr<const NVCalendarDateType>& HIJRI();          // "hijri"
  static const std::shared_ptr<const NVCalendarDateType>& HEBCAL();         // "hebcal"
  static const std::shared_ptr<const NVCalendarDateType>& SHAKA();          // "shaka"
  static const std::shared_ptr<const NVCalendarDateType>& PERSIAN();        // "persian"
  static const std::shared_ptr<const NVCalendarDateType>& VIETNAM();        // "vietnam"
  static const std::shared_ptr<const NVCalendarDateType>& HIJRI_KUWAITI();  // "hijri-kuwaiti"
  static const std::shared_ptr<const NVCalendarDateType>& HIJRI_SAUDI();    // "hijri-saudi"

  explicit NVCalendarDateType(std::string_view rawValue) : rawValue_(rawValue) {}

 private:
  const std::string rawValue_;
};

class NVCalendarTextLocale {
 public:
  // A new locale holding a copy of `rawValue`, passed on unchanged (never normalised).
  static std::shared_ptr<const NVCalendarTextLocale> localeWithRawValue(std::string_view rawValue);

  // The text-locale code: "en", "zh-rCN", "zh-rHK", "ar", "ko", "iw", "fa", or what was given.
  const std::string& rawValue() const { return rawValue_; }

  static const std::shared_ptr<const NVCalendarTextLocale>& EN();    // "en"
  static const std::shared_ptr<const NVCalendarTextLocale>& ZHCN();  // "zh-rCN"
  static const std::shared_ptr<const NVCalendarTextLocale>& ZHHK();  // "zh-rHK"
  static const std::shared_ptr<const NVCalendarTextLocale>& AR();    // "ar"
  static const std::shared_ptr<const NVCalendarTextLocale>& KO();    // "ko"
  static const std::shared_ptr<const NVCalendarTextLocale>& IW();    // "iw"
  static const std::shared_ptr<const NVCalendarTextLocale>& FA();    // "fa"

 private:
  struct PrivateTag {};

 public:
  // Only for localeWithRawValue (std::make_shared needs a public constructor).
  NVCalendarTextLocale(PrivateTag, std::string_view rawValue) : rawValue_(rawValue) {}

 private:
  const std::string rawValue_;
};

}  // namespace norvik
