#!/usr/bin/env bash
# Runs `norvik --lang CODE describe RULE` for every language the user can choose and a dozen rules,
# and `norvik --lang CODE month`, and flags what still reads English: a text equal to the English
# one, English words of the tables, a count missing from its text, or the English month name. It
# also flags what composed texts get wrong: a doubled article or a preposition before an article
# the language contracts ("le le", "am der", "em a"), and in Chinese and Japanese a space between
# two CJK words or before CJK punctuation (and, in Japanese, between a number and its counter).
#
#   scripts/language_sweep.sh [path/to/norvik]     (default: build/default/bin/norvik)
#
# Prints one line per language and rule (CODE<TAB>command<TAB>text), then the flagged lines, and
# exits 1 when anything was flagged. Each run uses a private container, so no stored choice changes.
set -uo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
norvik=${1:-$here/build/default/bin/norvik}
bundle=$here/resources/MainBundle
[ -x "$norvik" ] || { echo "language_sweep: no program at $norvik" >&2; exit 2; }
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

date=2024-03-14
# command|expected number ("" when the text has none)
cases=(
  "describe --date $date FREQ=DAILY|"
  "describe --date $date FREQ=DAILY;INTERVAL=3|3"
  "describe --date $date FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,WE|2"
  "describe --date $date FREQ=WEEKLY;BYDAY=MO,TU,WE,TH,FR|"
  "describe --date $date FREQ=WEEKLY;INTERVAL=21|21"
  "describe --date $date FREQ=MONTHLY;BYDAY=2TU|"
  "describe --date $date FREQ=MONTHLY;INTERVAL=3;BYMONTHDAY=15|3"
  "describe --date $date FREQ=MONTHLY;BYMONTHDAY=1,15,-1|15"
  "describe --date $date FREQ=YEARLY;BYMONTH=3;BYDAY=-1FR|"
  "describe --date $date FREQ=YEARLY;INTERVAL=2;BYMONTH=3;BYDAY=2SU|2"
  "describe --date $date FREQ=YEARLY;BYMONTH=7;BYMONTHDAY=4|"
  "describe --date $date FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=-1|"
  "describe --date $date FREQ=MONTHLY;BYMONTHDAY=15|"
  "describe --date $date FREQ=WEEKLY;BYDAY=MO,WE,FR|"
  "describe --date $date FREQ=YEARLY;INTERVAL=22|22"
  "describe --from duedate FREQ=DAILY;X-NV-DATES=20240101,20240202,20240303|3"
  "describe --lunar --date $date RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=8;BYMONTHDAY=15|"
  "describe --lunar --date $date RSCALE=HEBREW;FREQ=MONTHLY;BYMONTHDAY=14|"
  "after-completion FREQ=WEEKLY;INTERVAL=2|2"
  "after-completion FREQ=DAILY;INTERVAL=25|25"
  "after-completion FREQ=DAILY|"
  "after-completion --simplified FREQ=MONTHLY;INTERVAL=22|22"
)
# Words of the English texts that no translation keeps.
english='\b(Every|every|days|weeks|months|years|Weekly|Monthly|Yearly|Daily|Weekday|Lunar|Hebrew|Hijri|after completion|selected|the last|Official|None)\b'

# English words that are also the language's own: Romanian "Lunar" is "monthly".
declare -A ownWords=([ro]='Lunar')

# Word pairs that no sentence of the language holds: an article after an article, or after a
# preposition that contracts with it (German "am der", French "à le", Portuguese "em a"). Any word
# written twice in a row is flagged in every language.
doubled='(*UCP)(?i)\b(\w+) \1\b'
declare -A articles=(
  [de]='(*UCP)(?i)\b(am|im|vom|zum|zur|beim|der|die|das|den|dem) (der|die|das|den|dem|des)\b'
  [fr]="(*UCP)(?i)\\b(le|la|les) (le|la|les|l')|\\b(à|de) (le|les)\\b"
  [es]='(*UCP)(?i)\b(el|la|los|las) (el|la|los|las)\b|\b(a|de) el\b'
  [pt-BR]='(*UCP)(?i)\b(o|a|os|as|em|de|por) (o|a|os|as)\b'
  [it]="(*UCP)(?i)\\b(il|lo|la|i|gli|le|in|su|di|da|a) (il|lo|la|i|gli|le|l')"
  [ca]='(*UCP)(?i)\b(el|la|els|les) (el|la|els|les)\b|\b(a|de|per) (el|els)\b'
)
# A space where Chinese and Japanese write none: between two CJK characters, before CJK
# punctuation, and in Japanese between a number and the word it counts.
cjk='\p{Han}\p{Hiragana}\p{Katakana}'
cjkPunctuation='（）「」『』、。，：；！？'
declare -A cjkSpace=(
  [zh-Hans]="[$cjk] +[$cjk]| +[$cjkPunctuation]"
  [zh-Hant]="[$cjk] +[$cjk]| +[$cjkPunctuation]"
  [ja]="[$cjk] +[$cjk]| +[$cjkPunctuation]|[0-9] +[$cjk]|[$cjk] +[0-9]"
  [ko]=" +[$cjkPunctuation]"
)

run() {  # code, command...
  local code=$1
  shift
  "$norvik" --app-group-dir "$work/$code" --bundle "$bundle" --lang "$code" "$@" 2>/dev/null
}

# Perl patterns over UTF-8 text (\w and \p{Han} need the UTF-8 mode).
grepP() { LC_ALL=C.UTF-8 grep -qP "$1"; }

flags=()
codes=$(run en language list | cut -f2)
declare -A englishText
for entry in "${cases[@]}"; do
  command=${entry%|*}
  # shellcheck disable=SC2086
  englishText[$command]=$(run en $command)
done

for code in $codes; do
  mkdir -p "$work/$code"
  [ -d "$bundle/$code.lproj" ] || flags+=("$code	no folder $code.lproj")
  for entry in "${cases[@]}"; do
    command=${entry%|*}
    number=${entry##*|}
    # shellcheck disable=SC2086
    text=$(run "$code" $command)
    printf '%s\t%s\t%s\n' "$code" "$command" "$text"
    [ "$code" = en ] && continue
    if [ -z "$text" ]; then
      flags+=("$code	$command	empty")
    elif [ "$text" = "${englishText[$command]}" ]; then
      flags+=("$code	$command	same as English: $text")
    elif sed -E "s/\b(${ownWords[$code]:-^})\b//g" <<<"$text" | grep -qP "$english"; then
      flags+=("$code	$command	English left: $text")
    fi
    if [ -n "$number" ] && ! grep -q "$number" <<<"$text"; then
      flags+=("$code	$command	the count $number is missing: $text")
    fi
    if grepP "$doubled" <<<"$text" ||
      { [ -n "${articles[$code]:-}" ] && grepP "${articles[$code]}" <<<"$text"; }; then
      flags+=("$code	$command	doubled article: $text")
    fi
    if [ -n "${cjkSpace[$code]:-}" ] && grepP "${cjkSpace[$code]}" <<<"$text"; then
      flags+=("$code	$command	stray space in CJK text: $text")
    fi
  done
  month=$(run "$code" month 2024-03 | head -1)
  printf '%s\tmonth 2024-03\t%s\n' "$code" "$month"
  if [ "$code" != en ] && grep -q "March" <<<"$month"; then
    flags+=("$code	month	English month name: $month")
  fi
done

if [ ${#flags[@]} -gt 0 ]; then
  echo
  echo "flagged (${#flags[@]}):"
  printf '%s\n' "${flags[@]}"
  exit 1
fi
echo
echo "language_sweep: every language reads its own"
