section "Apart and together" "The same TIFF split into a file a page, then joined again behind a photograph, with room for hardly a page in memory: every page keeps its size and depth and gets the coding that fits it."
make split "$mixed" "$results/pages" --memory 1M
make join "$results/joined.tif" "$data/photos/street_nikon_gps.jpg" "$results"/pages/*.png --memory 1M
"$tool" convert "$results/joined.tif" "$results/joined_4.png" --page 4
compare "$results/pages/mixed_1bit_grey_colour_palette-3.png" "$results/joined_4.png" "page 4 of $results/joined.tif"
make info --all-pages "$results/joined.tif"
listing
