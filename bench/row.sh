# What the measuring scripts share: `qv`, the program that is measured, `calc` and `row`.
bin=${here%/*}/build/bench
qv=${QV:-$bin/qv}

# calc EXPRESSION [DIGITS]: its value, with so many digits behind the point, or two.
calc() { awk "BEGIN { printf \"%.${2:-2}f\", $1 }"; }

# row WHAT AGAINST FIGURE AT_MOST: a line of the table on the screen and, when BENCH_ROWS
# names a file, of the page that run.sh makes.
row() {
  printf '%-46s %-26s %10s   %s\n' "$@"
  if [ -n "${BENCH_ROWS:-}" ]; then printf '%s\t%s\t%s\t%s\n' "$@" >>"$BENCH_ROWS"; fi
}
heading() { printf '%-46s %-26s %10s   %s\n' measured against figure 'at most'; }
