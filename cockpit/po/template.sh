#!/bin/sh
# Prints the template of the page's texts, from which a translation begins; kzm-logger.pot is what it prints.
set -eu

cd "$(dirname "$0")/.."

cat <<'TEXT'
# Texts of the page "Log monitoring".
msgid ""
msgstr ""
"Project-Id-Version: kzm-logger\n"
"MIME-Version: 1.0\n"
"Content-Type: text/plain; charset=UTF-8\n"
"Content-Transfer-Encoding: 8bit\n"
"Plural-Forms: nplurals=2; plural=(n != 1);\n"

TEXT

find . -name '*.js' | sed 's|^\./||' | LC_ALL=C sort |
    xgettext --files-from=- --output=- --language=JavaScript --from-code=UTF-8 --omit-header \
        --no-location --no-wrap --keyword=_ --keyword=ngettext:1,2 --keyword=count:1,2
