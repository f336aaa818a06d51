# Makes the table of medians and ratios: awk -v json=0 -f table.awk bars.txt VALUES
# VALUES has lines "NAME,VALUE,UNIT"; a NAME is CASE/WHO. The library's value of a case stands beside those of its peers;
# bars between other pairs follow. A ratio above its bar is marked with "!".

function shown(value, unit) {
  if (unit != "ns") return sprintf(value == int(value) ? "%d%s" : "%.1f%s", value, unit == "" ? "" : " " unit)
  if (value < 1000) return sprintf("%.3g ns", value)
  if (value < 1000000) return sprintf("%.3g us", value / 1000)
  return sprintf("%.3g ms", value / 1000000)
}

function caseOf(name) { sub(/\/[^\/]*$/, "", name); return name }
function whoOf(name) { sub(/.*\//, "", name); return name }

function add(name, value, unit) {
  if (name in values) return
  names[++count] = name; values[name] = value; units[name] = unit
}

# What a message costs for each of its words or items.
function addShares(name, value,    items) {
  if (name !~ /^receive\/(read_response_2x|tag_response_).*\/ovk$/) return
  items = caseOf(name)
  sub(/.*[x_]/, "", items)
  add("per_" (name ~ /2x/ ? "word" : "item") "/" name, value / (name ~ /2x/ ? 2 * items : items), "ns")
}

# The name itself, or the fastest of those that begin with it.
function resolve(pattern,    i, best, start) {
  if (pattern !~ /\*$/) return pattern
  start = substr(pattern, 1, length(pattern) - 1)
  for (i = 1; i <= count; ++i)
    if (index(names[i], start) == 1 && (best == "" || values[names[i]] < values[best])) best = names[i]
  return best
}

# One line; `other` is empty for a value that stands alone, and 1 for a bar on the value itself.
function line(name, other, bar,    ratio, mark) {
  ratio = other == "" ? "" : values[name] / (other == 1 ? 1 : values[other])
  mark = bar != "" && ratio > bar + 0 ? " !" : ""
  missed += mark != ""
  bars += bar != ""
  if (json) {
    printf "%s\n  {\"what\": \"%s\", \"value\": %s, \"unit\": \"%s\"", separator, name, values[name], units[name]
    if (other != "" && other != 1) printf ", \"other\": \"%s\", \"other_value\": %s, \"ratio\": %.4g", other, values[other], ratio
    if (bar != "") printf ", \"bar\": %s, \"met\": %s", bar, mark == "" ? "true" : "false"
    printf "}"
    separator = ","
    return
  }
  printf "| %-42s | %8s | %-31s | %8s | %6s | %6s |\n", caseOf(name), shown(values[name], units[name]),
    other == "" || other == 1 ? "" : (caseOf(other) == caseOf(name) ? whoOf(other) : other),
    other == "" || other == 1 ? "" : shown(values[other], units[other]),
    other == "" || other == 1 ? "" : sprintf("%.2f", ratio) mark, bar (other == 1 ? mark : "")
}

BEGIN { FS = "[ ,]+" }
FILENAME ~ /bars\.txt$/ {
  if (NF == 3 && $1 !~ /^#/) { ++pairs; left[pairs] = $1; right[pairs] = $2; limit[pairs] = $3 }
  next
}
{ split($0, fields, ","); add(fields[1], fields[2], fields[3]); addShares(fields[1], fields[2]) }

END {
  for (i = 1; i <= pairs; ++i) bar[left[i], right[i]] = limit[i]
  if (json) printf "["
  else {
    print "| what | ovk | other | other's | ratio | bar |"
    print "|---|---:|---|---:|---:|---:|"
  }
  for (i = 1; i <= count; ++i) {
    name = names[i]
    if (whoOf(name) != "ovk") continue
    alone = 1
    for (j = 1; j <= count; ++j) {
      other = names[j]
      if (other == name || caseOf(other) != caseOf(name)) continue
      alone = 0
      line(name, other, bar[name, other])
      done[name, other] = 1
    }
    if (alone && !((name, 1) in bar)) line(name, "", "")
  }
  for (i = 1; i <= pairs; ++i) {
    other = resolve(right[i])
    if ((left[i], right[i]) in done) continue
    if ((left[i] in values) && (other == 1 || (other in values))) line(left[i], other, limit[i])
    else unmeasured = unmeasured "\nnot measured: " left[i] " against " right[i]
  }
  if (json) print "\n]"
  else printf "\n%d of %d bars met%s\n", bars - missed, pairs, unmeasured
}
