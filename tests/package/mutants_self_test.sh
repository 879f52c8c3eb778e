#!/usr/bin/env bash
# Proves that scripts/mutate.py finds changes everywhere in the library, and that it can tell caught
# ones from others: a tree with one function takes the place of ours.
#   mutants_self_test.sh MUTATE
set -euo pipefail
mutate=$(realpath "$1")

work=$(mktemp -d -p /var/tmp)  # what runs there sees no /tmp
trap 'rm -rf "$work"' EXIT
tree=$(cd "$(dirname "$mutate")/.." && pwd)

fail() {
    echo "$*" >&2
    exit 1
}

# Each line: the change's name, its source line, the changed line.
"$mutate" --list >"$work/list"
"$mutate" --list >"$work/again"
cmp "$work/list" "$work/again" || fail "the same seed gives other changes"
"$mutate" --list --seed 2 >"$work/again"
cmp -s "$work/list" "$work/again" && fail "another seed gives the same changes"
python3 - "$tree" "$work/list" <<'END'
import pathlib, sys
tree, changes = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]).read_text().splitlines()
files, operators = set(), set()
for change in changes:
    name, before, after = change.split("\t")
    file, line, column, operator = name.split(":")
    there = " ".join((tree / file).read_text().splitlines()[int(line) - 1].split())
    assert before.startswith(there) and before != after, change
    files.add(file)
    operators.add(operator)
code = {str(path.relative_to(tree)) for path in (tree / "src").rglob("*.cpp")}
assert len(set(changes)) == len(changes) >= 200, len(changes)
assert len(operators) == 12, operators
assert not code - files, code - files
print(f"{len(changes)} changes by {len(operators)} operators in {len(files)} files")
END

mkdir -p "$work/tree/src/util" "$work/tree/tests/util" "$work/tree/tests/other"
cd "$work/tree"
cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.25)
project(limit LANGUAGES CXX)
enable_testing()
add_executable(limit_test src/util/Limit.cpp tests/util/test.cpp)
set_target_properties(limit_test PROPERTIES RUNTIME_OUTPUT_DIRECTORY tests/util)
add_test(NAME limit_test COMMAND limit_test)
add_executable(other_test src/util/Limit.cpp tests/other/test.cpp)
add_test(NAME other_test COMMAND other_test)
END
cat >src/util/Limit.cpp <<'END'
static_assert(sizeof(int) == 4, "not counted");  // 3 < 4
int Limit(int number)
{
    constexpr int kNone[1] = {7};
    for (int left = number; left != 0; --left) {}
    return number < 10 ? number : 3 + kNone[0];
}
END
cat >tests/util/test.cpp <<'END'
int Limit(int number);
int main()
{
    return Limit(3) == 3 && Limit(12) == 10 ? 0 : 1;
}
END
cat >tests/other/test.cpp <<'END'
int Limit(int number);
int main()
{
    return Limit(9) == 9 ? 0 : 1;
}
END

# expect STATUS TEXT ARGUMENT...
expect() {
    local wanted=$1 text=$2 status=0
    shift 2
    "$mutate" --tree . --build "$work/build" "$@" >"$work/log" 2>&1 || status=$?
    if [[ $status != "$wanted" ]] || ! grep -qE -- "$text" "$work/log"; then
        cat "$work/log" "$work"/build/*/log
        fail "mutate.py $*: status $status, expected $wanted with: $text"
    fi
    grep -m 1 -E -- "$text" "$work/log"
}

file=src/util/Limit.cpp
line=$file:6
expect 0 "^caught +$line:19:comparison  limit_test: exit status 1" --case $line:19:comparison
expect 0 "^caught +$file:5:40:arithmetic  limit_test: hangs" --case $file:5:40:arithmetic \
    --patience 0.5
expect 0 "^caught +$line:21:constant-1  other_test: exit status 1" --case $line:21:constant-1
expect 1 "^survived +$line:19:boundary" --case $line:19:boundary
expect 1 "^does not compile $file:4:25:constant-1" --case $file:4:25:constant-1
expect 1 "^$file:1:27:constant\+1 is no change" --case $file:1:27:constant+1
expect 1 "of 14 changes caught" --count 14 --patience 0.5
expect 0 "of 14 changes caught" --count 14 --patience 0.5 --share 50
expect 1 "^Only 15 of 16 changes could be made" --count 16 --patience 0.5

before="return number < 10 ? number : 3 + kNone[0];"
printf '%s\t%s\t%s\t10 is 10\n' $file "$before" "${before/</<=}" >tests/equivalent_mutants.tsv
expect 0 "^equivalent +$line:19:boundary  10 is 10" --case $line:19:boundary $line:19:comparison
sed -i 's/== 10/== 11/' tests/util/test.cpp
expect 1 "^limit_test fails without any change" --case $line:19:comparison
sed -i 's/number < 10/number < 11/' $file
expect 1 "^tests/equivalent_mutants.tsv: no such change in $file" --list
