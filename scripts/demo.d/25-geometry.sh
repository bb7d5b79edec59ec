section "Upright and level" "Text lines have to be level on the right, on a page of the same size. Pictures of a camera are turned as their orientation says, JPEG without loss; a fax gets square pixels. The letter has no trustworthy angle and stays as it is."
turn() {
    make "$1" "$data/$2" "$results/$3" "${@:4}"
    compare "$data/$2" "$results/$3" "$last_answer"
}
turn deskew pages/article_1bit_g4_300dpi.tif article_level.tif
turn deskew pages/note_skewed_1bit_g4.tif note_level.tif
make rotate "$data/pages/book_grey_300dpi.jpg" "$results/book_skewed.jpg" --angle 4
make deskew "$results/book_skewed.jpg" "$results/book_level.jpg"
compare "$results/book_skewed.jpg" "$results/book_level.jpg" "$last_answer"
run deskew "$data/pages/letter_colour_300dpi.jpg" "$results/letter_kept.jpg"
listing
turn upright exif/orientation_7.jpg upright.jpg
turn rotate photos/street_nikon_gps.jpg street_turned.jpg --angle -90 --lossless
turn rotate depths/palette8.png map_turned.png --angle 15
turn normalize pages/fax_standard_204x98_g3_1d.tif fax_square.tif
