section "What is in a file" "A fax with unequal resolution, a camera picture stored on its side, and a scanned report of five pages."
make info "$data/pages/fax_standard_204x98_g3_1d.tif" "$data/exif/orientation_6.jpg" "$data/multipage/report_5pages_1bit_g4.tif"
listing
make formats --for "$data/pages/table_1bit_g4_150dpi.tif"
listing
make cpu
listing
