#!/usr/bin/env bash
# Whole-process CPU time (user + system, as /usr/bin/time reports it) of a
# command beside a yardstick.  /usr/bin/time counts in hundredths of a
# second, so each measurement runs the command BATCH times in one shell loop
# and divides; the loop's own cost is the same for both.  Five rounds, the
# command and the yardstick in turn; prints the median per-run CPU of each
# and the median of the rounds' ratios.
#   bench/whole_process.sh BATCH 'COMMAND' 'YARDSTICK'
# Examples:
#   bench/whole_process.sh 20 'build-bench/app/vorn BIG.box' 'build-bench/bench/map_read BIG.box'
#   bench/whole_process.sh 200 'build-bench/app/vorn ONE_BYTE.box' /bin/true
set -eu
batch="$1" command="$2" yardstick="$3"
times_file="$(mktemp)"
trap 'rm -f "$times_file"' EXIT

# Per-run CPU milliseconds of $1, run $batch times.
cpu_ms() {
  # shellcheck disable=SC2016 # the loop expands its own arguments
  /usr/bin/time -f '%U %S' -o "$times_file" \
    sh -c 'i=0; while [ "$i" -lt "$1" ]; do $2 >/dev/null 2>&1; i=$((i + 1)); done' sh "$batch" "$1"
  awk -v n="$batch" '{ printf "%.2f\n", ($1 + $2) * 1000 / n }' "$times_file"
}

median() { sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

a="" b="" r=""
for _ in 1 2 3 4 5; do
  x="$(cpu_ms "$command")"
  y="$(cpu_ms "$yardstick")"
  a="$a$x"$'\n' b="$b$y"$'\n'
  r="$r$(awk -v x="$x" -v y="$y" 'BEGIN { if (y > 0) printf "%.2f", x / y; else print "inf" }')"$'\n'
done
echo "command   $(printf '%s' "$a" | median) ms CPU a run   ($command)"
echo "yardstick $(printf '%s' "$b" | median) ms CPU a run   ($yardstick)"
echo "ratio     $(printf '%s' "$r" | median)"
