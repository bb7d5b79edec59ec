// Shows the pages of files in a window, drawn by a prepared view. Keys: n and p for the next and previous
// page, r to turn it, f to fit it into the window, 1 for its own size, arrows to move, + and - for the
// window's size, q to quit.
//
// For tests, `--keys KEYS` types keys beforehand and `--screenshot FILE.bmp` writes the window's content and
// quits.

#include "PageFile.h"

#include <SDL.h>
#include <algorithm>
#include <cstring>
#include <iostream>
#include <vector>

namespace {

class Viewer {
public:
    Viewer(SDL_Window* window, std::vector<PageFile> files) : window_(window), files_(std::move(files)) {
        for (std::size_t file = 0; file < files_.size(); ++file) {
            for (int page = 0; page < files_[file].count(); ++page) {
                pages_.push_back({file, page});
            }
        }
    }

    /// Loads the page that is `step` pages on; one that can't be loaded is passed over.
    bool turn(int step) {
        for (std::size_t tries = 0; tries < pages_.size(); ++tries) {
            current_ = (current_ + pages_.size() + static_cast<std::size_t>(step)) % pages_.size();
            const PagePlace& place = pages_[current_];
            if (files_[place.file].load(place.page, page_)) {
                const std::string title =
                    files_[place.file].name() + ", page " + std::to_string(place.page + 1);
                SDL_SetWindowTitle(window_, title.c_str());
                squarePixels();
                return prepare();
            }
            step = step == 0 ? 1 : step;
        }
        return false;
    }

    /// False when the program should end.
    bool press(SDL_Keycode key) {
        switch (key) {
        case SDLK_n:
            return turn(1);
        case SDLK_p:
            return turn(-1);
        case SDLK_r:
            return rotate();
        case SDLK_f:
            fits_ = true;
            return prepare();
        case SDLK_1:
            fits_ = false;
            return prepare();
        case SDLK_LEFT:
            return move(-40, 0);
        case SDLK_RIGHT:
            return move(40, 0);
        case SDLK_UP:
            return move(0, -40);
        case SDLK_DOWN:
            return move(0, 40);
        case SDLK_PLUS:
            return resizeWindow(5, 4);
        case SDLK_MINUS:
            return resizeWindow(4, 5);
        case SDLK_q:
            return false;
        default:
            return true;
        }
    }

    /// Prepares the page for the window: all the slow work, done once for many paints.
    bool prepare() {
        int width = 0, height = 0;
        SDL_GetWindowSize(window_, &width, &height);
        size_ = {static_cast<int>(page_->GetWidth()), static_cast<int>(page_->GetHeight())};
        if (fits_) {
            const double scale = std::min(double(width) / size_.x, double(height) / size_.y);
            size_ = {std::max(1, int(size_.x * scale)), std::max(1, int(size_.y * scale))};
        }
        corner_ = {0, 0};
        return view_.Init(page_.get(), size_.x, size_.y);
    }

    bool paint() {
        SDL_Surface* const surface = SDL_GetWindowSurface(window_);
        if (!surface) {
            return false;
        }
        SDL_FillRect(surface, nullptr, SDL_MapRGB(surface->format, 64, 64, 64));
        if (surface->format->format == SDL_PIXELFORMAT_RGB888 ||
            surface->format->format == SDL_PIXELFORMAT_ARGB8888) {
            draw(*surface);
        } else { // a window of another format gets a copy
            SDL_Surface* const canvas =
                SDL_CreateRGBSurfaceWithFormat(0, surface->w, surface->h, 32, SDL_PIXELFORMAT_RGB888);
            if (!canvas) {
                return false;
            }
            SDL_BlitSurface(surface, nullptr, canvas, nullptr);
            draw(*canvas);
            SDL_BlitSurface(canvas, nullptr, surface, nullptr);
            SDL_FreeSurface(canvas);
        }
        return SDL_UpdateWindowSurface(window_) == 0;
    }

private:
    struct PagePlace {
        std::size_t file;
        int page;
    };

    /// Copies the visible part of the prepared picture to a surface of 32 bits, a small picture to its
    /// middle.
    void draw(SDL_Surface& surface) {
        const LONG width = std::min(size_.x, surface.w), height = std::min(size_.y, surface.h);
        const LONG left = (surface.w - width) / 2, top = (surface.h - height) / 2;
        const HDC dc = dornplatform::createSurfaceContext(surface.pixels, surface.w, surface.h,
                                                          static_cast<std::size_t>(surface.pitch));
        view_.Draw(dc, {corner_.x, corner_.y, corner_.x + width, corner_.y + height},
                   {left, top, left + width, top + height});
        DeleteDC(dc);
    }

    /// Faxes have other resolutions across than down.
    void squarePixels() {
        DornImage::DPIUnifAdapter square;
        Reference<Image> grey;
        if (FreeImage_GetDotsPerMeterX(page_->getFIBTMAP()) !=
                FreeImage_GetDotsPerMeterY(page_->getFIBTMAP()) &&
            page_->GetBpp() == 1 && page_->convertToGrayscale(grey)) {
            page_ = grey;
        }
        DornImage::applyAdapter(&square, page_);
    }

    bool rotate() {
        Reference<Image> turned;
        if (!page_->Rotate(270, turned)) {
            return false;
        }
        page_ = turned;
        return prepare();
    }

    bool move(int x, int y) {
        int width = 0, height = 0;
        SDL_GetWindowSize(window_, &width, &height);
        corner_.x = std::max(0, std::min(corner_.x + x, size_.x - width));
        corner_.y = std::max(0, std::min(corner_.y + y, size_.y - height));
        return true;
    }

    bool resizeWindow(int multiply, int divide) {
        int width = 0, height = 0;
        SDL_GetWindowSize(window_, &width, &height);
        SDL_SetWindowSize(window_, width * multiply / divide, height * multiply / divide);
        return true; // the window tells when it has its size
    }

    SDL_Window* window_;
    std::vector<PageFile> files_;
    std::vector<PagePlace> pages_;
    std::size_t current_ = 0;
    Reference<Image> page_;
    DornImage::FreeImageFastView view_;
    bool fits_ = true;
    SDL_Point size_{};
    SDL_Point corner_{};
};

/// Handles events until the user quits, or, with the name of a screenshot, until none is left.
bool run(SDL_Window* window, Viewer& viewer, const char* screenshot) {
    for (;;) {
        SDL_Event event;
        const bool waiting = screenshot ? SDL_PollEvent(&event) != 0 : SDL_WaitEvent(&event) != 0;
        if (!waiting) {
            return screenshot && viewer.paint() && SDL_SaveBMP(SDL_GetWindowSurface(window), screenshot) == 0;
        }
        if (event.type == SDL_QUIT || (event.type == SDL_KEYDOWN && !viewer.press(event.key.keysym.sym))) {
            return event.type == SDL_QUIT || event.key.keysym.sym == SDLK_q;
        }
        if (event.type == SDL_WINDOWEVENT && event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED &&
            !viewer.prepare()) {
            return false;
        }
        if (!screenshot && !viewer.paint()) {
            return false;
        }
    }
}

void type(const char* keys) {
    for (; *keys; ++keys) {
        SDL_Event event{};
        event.type = SDL_KEYDOWN;
        event.key.keysym.sym = *keys == '>'   ? SDLK_RIGHT
                               : *keys == 'v' ? SDLK_DOWN
                                              : static_cast<SDL_Keycode>(*keys);
        SDL_PushEvent(&event);
    }
}

} // namespace

int main(int argc, char** argv) {
    const char* keys = "";
    const char* screenshot = nullptr;
    std::vector<PageFile> files;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--keys") == 0 && i + 1 < argc) {
            keys = argv[++i];
        } else if (std::strcmp(argv[i], "--screenshot") == 0 && i + 1 < argc) {
            screenshot = argv[++i];
        } else {
            files.emplace_back(argv[i]);
        }
    }
    if (files.empty()) {
        std::cerr << "usage: viewer [--keys KEYS] [--screenshot FILE.bmp] FILE...\n";
        return 1;
    }
    if (SDL_Init(SDL_INIT_VIDEO) != 0) {
        std::cerr << SDL_GetError() << '\n';
        return 2;
    }
    int result = 2;
    if (SDL_Window* const window = SDL_CreateWindow("viewer", SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED,
                                                    640, 480, SDL_WINDOW_RESIZABLE)) {
        Viewer viewer(window, std::move(files));
        if (!viewer.turn(0)) {
            std::cerr << "no page can be shown\n";
            result = 3;
        } else {
            type(keys);
            result = run(window, viewer, screenshot) ? 0 : 4;
        }
        SDL_DestroyWindow(window);
    }
    SDL_Quit();
    return result;
}
