#include "frameworks/Foundation/NSBundle/languages.hpp"

#include <cstdlib>
#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using veltro::host::Language;
using veltro::host::matching_localizations;
using veltro::host::user_languages;

using Names = std::vector<std::string>;

class UserLanguages : public testing::Test {
protected:
  UserLanguages() {
    for (const char *variable : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"})
      unsetenv(variable);
  }
};

TEST(LanguageNamed, ReadsLocalesTagsAndOldNames) {
  EXPECT_EQ(Language::named("de"), (Language{"de", "", ""}));
  EXPECT_EQ(Language::named("de_AT.UTF-8@euro"), (Language{"de", "", "AT"}));
  EXPECT_EQ(Language::named("pt-BR"), (Language{"pt", "", "BR"}));
  EXPECT_EQ(Language::named("DE-at"), (Language{"de", "", "AT"}));
  EXPECT_EQ(Language::named("es-419"), (Language{"es", "", "419"}));
  EXPECT_EQ(Language::named("sr-latn-RS"), (Language{"sr", "Latn", "RS"}));
  EXPECT_EQ(Language::named("German"), (Language{"de", "", ""}));
  EXPECT_EQ(Language::named("English"), (Language{"en", "", ""}));
  EXPECT_EQ(Language::named(""), (Language{"", "", ""}));
  EXPECT_EQ(Language::named(".UTF-8"), (Language{"", "", ""}));
}

TEST(LanguageNamed, TellsChineseScriptsApartByRegion) {
  EXPECT_EQ(Language::named("zh_CN").script, "Hans");
  EXPECT_EQ(Language::named("zh_SG").script, "Hans");
  EXPECT_EQ(Language::named("zh").script, "Hans");
  EXPECT_EQ(Language::named("zh_TW.UTF-8").script, "Hant");
  EXPECT_EQ(Language::named("zh-HK").script, "Hant");
  EXPECT_EQ(Language::named("zh_MO").script, "Hant");
  EXPECT_EQ(Language::named("zh-Hant-CN").script, "Hant");
}

TEST_F(UserLanguages, AreNoneWithoutAnEnvironment) {
  EXPECT_THAT(user_languages(), IsEmpty());
}

TEST_F(UserLanguages, AreThoseOfTheFirstVariableThatIsSet) {
  setenv("LANG", "ja_JP.UTF-8", 1);
  EXPECT_THAT(user_languages(), ElementsAre("ja_JP.UTF-8"));
  setenv("LC_MESSAGES", "fr_FR", 1);
  EXPECT_THAT(user_languages(), ElementsAre("fr_FR"));
  setenv("LC_ALL", "de_DE", 1);
  EXPECT_THAT(user_languages(), ElementsAre("de_DE"));
  setenv("LANGUAGE", "es:ar", 1);
  EXPECT_THAT(user_languages(), ElementsAre("es", "ar"));
  setenv("LANGUAGE", "", 1);
  EXPECT_THAT(user_languages(), ElementsAre("de_DE"));
}

TEST_F(UserLanguages, AreNoneOfTheLocalesWithoutALanguage) {
  for (const char *locale : {"C", "POSIX", "C.UTF-8", ".UTF-8"}) {
    setenv("LC_ALL", locale, 1);
    setenv("LANG", "de_DE", 1);
    EXPECT_THAT(user_languages(), IsEmpty()) << locale;
  }
  setenv("LANGUAGE", "::de::C", 1);
  EXPECT_THAT(user_languages(), ElementsAre("de"));
}

TEST(MatchingLocalizations, PreferTheRegionThenNoneThenAnother) {
  const Names offered{"pt", "pt-BR", "pt_PT"};
  EXPECT_THAT(matching_localizations(offered, Names{"pt_BR.UTF-8"}), ElementsAre("pt-BR"));
  EXPECT_THAT(matching_localizations(offered, Names{"pt-PT"}), ElementsAre("pt_PT"));
  EXPECT_THAT(matching_localizations(offered, Names{"pt_AO"}), ElementsAre("pt"));
  EXPECT_THAT(matching_localizations(Names{"pt-BR"}, Names{"pt"}), ElementsAre("pt-BR"));
}

TEST(MatchingLocalizations, FollowTheOrderThatIsWanted) {
  const Names offered{"de", "en", "fr"};
  EXPECT_THAT(matching_localizations(offered, Names{"fr", "sv", "de", "fr_CA"}),
              ElementsAre("fr", "de"));
  for (const char *const name : {"\xff", "en\xff", "Brazilian Portuguese"}) {
    const Names odd{name};
    EXPECT_THAT(matching_localizations(odd, Names{"en", "de", "C", "Base"}), IsEmpty()) << name;
    EXPECT_THAT(matching_localizations(offered, odd), IsEmpty()) << name;
    EXPECT_THAT(matching_localizations(odd, odd), ElementsAre(name));
  }
  EXPECT_THAT(matching_localizations(offered, Names{"ja"}), IsEmpty());
  EXPECT_THAT(matching_localizations(Names{}, Names{"de"}), IsEmpty());
  EXPECT_THAT(matching_localizations(offered, Names{}), IsEmpty());
}

TEST(MatchingLocalizations, NeverMixScripts) {
  EXPECT_THAT(matching_localizations(Names{"zh-Hans", "zh-Hant"}, Names{"zh_TW"}),
              ElementsAre("zh-Hant"));
  EXPECT_THAT(matching_localizations(Names{"zh_CN"}, Names{"zh_TW"}), IsEmpty());
  EXPECT_THAT(matching_localizations(Names{"zh_CN"}, Names{"zh-Hans-SG"}), ElementsAre("zh_CN"));
  EXPECT_THAT(matching_localizations(Names{"German"}, Names{"de_CH"}), ElementsAre("German"));
}

} // namespace
