section "Formats and depths" "The pictures have to look the same but for the colours that the command takes away."
convert() {
    make convert "$data/$1" "$results/$2" "${@:3}"
    compare "$data/$1" "$results/$2"
}
convert pages/letter_colour_300dpi.jpg letter_grey.jpg --to grey
convert pages/table_1bit_g4_150dpi.tif table.png
convert depths/min_is_white_g4.tif min_is_white.gif
convert photos/street_nikon_gps.jpg street.webp
convert photos/mountains_canon_ixus40.jpg mountains.tif
convert depths/palette8.png map_grey.png --to grey
convert depths/grey16.tif portrait_grey.png --to 8
convert depths/cmyk_adobe.jpg cmyk.png
convert exif/orientation_6.jpg on_its_side.jpg --to grey
