#!/bin/sh
# collection.sh FOLDER
#
# Looks at the Ansible collection without any network: its unit tests, its documentation, Ansible's sanity
# tests and the linters. Those sanity tests that want packages from the network are run by hand here, with
# Debian's packages, as far as they have a program of their own.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
source=$here/../../ansible
mkdir -p "$1"
folder=$(cd "$1" && pwd)/collection
log=$folder.log
place=$folder/ansible_collections/veltaro/kzm

rm -rf "$folder"
mkdir -p "${place%/*}"
cp -r "$source" "$place"
cd "$place"
export PYTHONPATH="$folder" PYTHONDONTWRITEBYTECODE=1 ANSIBLE_COLLECTIONS_PATH="$folder"
export ANSIBLE_HOME="$folder/home" HOME="$folder/home" ANSIBLE_NOCOLOR=1
# Not as a folder that git leaves out, which the linter would pass over.
export GIT_CEILING_DIRECTORIES="${folder%/*}"
mkdir -p "$HOME"

# Runs a check; says all when it fails.
check() {
    if ! unshare --net "$@" >"$log" 2>&1; then
        echo "$*" >&2
        cat "$log" >&2
        exit 1
    fi
}

for tests in module_utils modules; do
    check /usr/bin/python3 -m unittest discover -s "tests/unit/plugins/$tests" \
        -t "tests/unit/plugins/$tests"
done

for module in plugins/modules/*.py; do
    check ansible-doc "veltaro.kzm.$(basename "$module" .py)"
done
check ansible-doc --type role veltaro.kzm.logger_provider

check ansible-test sanity --python 3.11 \
    --test action-plugin-docs --test changelog --test compile --test empty-init \
    --test future-import-boilerplate --test ignores --test line-endings \
    --test metaclass-boilerplate --test no-assert --test no-basestring --test no-dict-iteritems \
    --test no-dict-iterkeys --test no-dict-itervalues --test no-get-exception \
    --test no-illegal-filenames --test no-main-display --test no-smart-quotes \
    --test no-unicode-literals --test replace-urlopen --test shebang --test symlinks \
    --test use-argspec-type-path --test use-compat-six

# Its options and those that its documentation names; the header of a licence is not this project's.
sanity=/usr/lib/python3/dist-packages/ansible_test/_util/controller/sanity
/usr/bin/python3 "$sanity/validate-modules/validate.py" --format plain --arg-spec \
    --collection ansible_collections/veltaro/kzm plugins/modules/*.py >"$log" 2>&1 || true
if grep -v missing-gplv3-license "$log"; then
    exit 1
fi
check pycodestyle --max-line-length 110 --ignore E402,W503,W504 plugins tests "$here"
check yamllint --strict --config-data '{extends: default, rules: {line-length: {max: 120}, braces: disable,
    comments: {min-spaces-from-content: 1}, truthy: {check-keys: false}, document-start: disable}}' .

# A schema that wants the address of a public repository, and one that takes no variable for
# max_fail_percentage.
cd "$folder"
check ansible-lint --offline --nocolor --exclude "$place/tests" \
    -x 'schema[galaxy],schema[playbook],galaxy' ansible_collections/veltaro/kzm
