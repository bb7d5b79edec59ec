section "Skew" "Each page with lines in the measured direction, beside the scores of all directions: the lines have to run along the text. A photograph has no direction, and the answer says so."
skew() {
    run skew --page 1 --picture "$results/$2" "$data/$1"
    compare "$data/$1" "$results/$2" "$last_answer"
}
skew pages/note_skewed_1bit_g4.tif skew_note.png
skew pages/article_1bit_g4_300dpi.tif skew_article.png
skew pages/fax_standard_204x98_g3_1d.tif skew_fax.png
skew photos/mountains_canon_ixus40.jpg skew_mountains.png
make skew "$data/multipage/report_5pages_1bit_g4.tif"
listing
