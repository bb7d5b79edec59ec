section "Sizes" "Thumbnails: no moiré, no jagged letters, and a fax in the shape that it has on paper. A page of black and white keeps its shades with --to grey. Then a page at half its resolution, and a small picture enlarged by each method: linear shows the grid of pixels, cubic is soft, lanczos is sharp with a faint light or dark line along edges."
thumbnail() {
    make scale "$data/$1" "$results/thumbnail_$2" --fit 240x240 "${@:3}"
    compare "$data/$1" "$results/thumbnail_$2"
}
thumbnail pages/fax_standard_204x98_g3_1d.tif fax.png --to grey
thumbnail pages/letter_colour_300dpi.jpg letter.jpg
thumbnail photos/mountains_canon_ixus40.jpg mountains.jpg
thumbnail depths/palette_alpha.png palette_alpha.png
make scale "$data/pages/book_grey_300dpi.jpg" "$results/book_150dpi.jpg" --dpi 150
compare "$data/pages/book_grey_300dpi.jpg" "$results/book_150dpi.jpg"
for method in linear cubic lanczos; do
    make scale "$data/depths/rgb_small.png" "$results/enlarged_$method.png" --percent 600 --method "$method"
    compare "$data/depths/rgb_small.png" "$results/enlarged_$method.png"
done
