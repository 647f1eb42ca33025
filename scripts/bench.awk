# Makes the table of scripts/bench: reads Google Benchmark's JSON, which has one key on each line, and then
# bench/targets. With -v chart=FILE it also writes the ratios to FILE, for scripts/bench.gnuplot.
function trimmed(text) { gsub(/^[ \t]+|[ \t]+$/, "", text); return text }

# The value of a figure as bench/targets describes it; "" if it was not measured. The growth of a floor counts as no
# less than that of the number of items: what costs the same at both sizes weighs more in a floor of microseconds.
function value_of(figure, is_floor,  terms, small, large, growth) {
  worst = ""
  if (split(figure, terms, " [+] ") == 2) {
    small = value_of(terms[1])
    large = value_of(terms[2])
    return small == "" || large == "" ? "" : small + large
  }
  if (match(figure, /[0-9]+\.\.[0-9]+$/)) {
    split(substr(figure, RSTART), terms, "[.][.]")
    figure = substr(figure, 1, RSTART - 1)
    small = value[figure terms[1], "cpu_time"]
    large = value[figure terms[2], "cpu_time"]
    growth = small == "" || large == "" ? "" : large / small
    return growth != "" && is_floor && growth < terms[2] / terms[1] ? terms[2] / terms[1] : growth
  }
  return value_of_one(figure)
}

# The value of NAME or NAME:COUNTER, the largest for a name with an asterisk. `worst` is the part of the name that the
# asterisk matched.
function value_of_one(figure,  part, counter, star, found, best) {
  split(figure, part, ":")
  counter = part[2] == "" ? "cpu_time" : part[2]
  figure = part[1]
  star = index(figure, "*")
  if (star == 0) return value[figure, counter]
  best = ""
  for (found in value) {
    split(found, part, SUBSEP)
    if (part[2] != counter || index(part[1], substr(figure, 1, star - 1)) != 1) continue
    if (best != "" && value[found] <= best) continue
    best = value[found]
    worst = substr(part[1], star)
  }
  return best
}

function with_unit(number, figure) {
  if (number == "") return "not measured"
  if (figure ~ /\.\./) return sprintf("%.1f times", number)
  if (figure ~ /:touched$/) return sprintf("%.2f MiB", number / 1048576)
  if (figure ~ /:bytes_per_second$/) return sprintf("%.0f MB/s", number / 1e6)
  if (figure ~ /:writes$/) return sprintf("%d", number)
  if (number < 1e-6) return sprintf("%.1f ns", number * 1e9)
  if (number < 1e-3) return sprintf("%.1f µs", number * 1e6)
  return sprintf("%.1f ms", number * 1e3)
}

BEGIN {
  FS = "|"
  scale["ns"] = 1e-9; scale["us"] = 1e-6; scale["µs"] = 1e-6; scale["ms"] = 1e-3; scale["s"] = 1
  scale["MiB"] = 1048576; scale["MB/s"] = 1e6; scale[""] = 1
  print "| | | figure | floor or peer | ratio | limit | met |"
  print "|---|---|---:|---:|---:|---:|---|"
}

FNR == NR {
  if (!match($0, /^ *"[a-z_]+": /)) next
  key = $0
  sub(/^ *"/, "", key)
  sub(/".*/, "", key)
  text = substr($0, RSTART + RLENGTH)
  gsub(/[",]/, "", text)
  if (key == "run_name") { run = text; sub(/\/(iterations:1|manual_time)$/, "", run) }
  else if (key == "aggregate_name") median = text == "median"
  else if (key == "time_unit") { if (median) value[run, "cpu_time"] *= scale[text] }
  else if (median && text ~ /^[0-9.e+-]+$/) value[run, key] = text + 0
  next
}

/^#/ || NF < 5 { next }
{
  figure = trimmed($3)
  peer = trimmed($4)
  split(trimmed($5), limit, " ")
  at_least = limit[1] == ">="
  measured = value_of(figure)
  shown = with_unit(measured, figure) (worst == "" ? "" : " (" worst ")")
  ratio = ""
  beside = ""
  compared = measured
  if (peer != "") {
    floor_value = value_of(peer, 1)
    beside = with_unit(floor_value, peer)
    compared = measured == "" || floor_value == "" || floor_value == 0 ? "" : measured / floor_value
    ratio = compared == "" ? "" : sprintf("%.2f", compared)
  }
  bound = limit[2] * scale[limit[3]]
  met = compared == "" ? "?" : (at_least ? compared >= bound : compared <= bound) ? "yes" : "**no**"
  printf "| %s | %s | %s | %s | %s | %s %s | %s |\n", trimmed($1), trimmed($2), shown, beside, ratio,
    at_least ? "≥" : "≤", limit[2] (limit[3] == "" ? "" : " " limit[3]), met
  # Growth is a ratio already, so the chart leaves it out.
  if (chart != "" && ratio != "" && figure !~ /\.\./)
    printf "%d\t%s\t%s\t%s\t%s\n", ++drawn, ratio, bound, compared <= bound, trimmed($2) >chart
}
