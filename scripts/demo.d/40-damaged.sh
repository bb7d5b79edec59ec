section "Damaged files" "Each is reported in the words of its decoder, and none stops the others. A scan that breaks off is still written, with a warning."
run info "$data"/damaged/*
listing
run convert "$data/damaged/cut.png" "$results/never_written.png"
listing
[ ! -e "$results/never_written.png" ]
make convert "$data/damaged/cut_in_scan.jpg" "$results/cut_in_scan.png"
listing
compare "$data/damaged/cut_in_scan.jpg" "$results/cut_in_scan.png"
make convert "$data/damaged/flipped_g4_bytes.tif" "$results/flipped_g4_bytes.png"
compare "$data/damaged/flipped_g4_bytes.tif" "$results/flipped_g4_bytes.png" "The fax codec goes on after the bad bytes as well as it can."
