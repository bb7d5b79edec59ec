section "Files of several pages" "One TIFF with a bilevel, a grey, a true colour and a palette page; then an animation, whose frames are taken as a viewer shows them."
mixed=$data/multipage/mixed_1bit_grey_colour_palette.tif
make info --all-pages "$mixed"
listing
for page_number in 1 2 3 4; do
    make convert "$mixed" "$results/mixed_$page_number.png" --page "$page_number"
done
make convert "$mixed" "$results/mixed_grey.tif" --to grey
for page_number in 1 2 3 4; do
    "$tool" convert "$results/mixed_grey.tif" "$results/mixed_grey_$page_number.png" --page "$page_number"
    compare "$results/mixed_$page_number.png" "$results/mixed_grey_$page_number.png" "page $page_number of $results/mixed_grey.tif"
done
make convert "$data/multipage/animated.gif" "$results/frame_3.png" --page 3
compare "$data/multipage/animated.gif" "$results/frame_3.png"
