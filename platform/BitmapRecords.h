#ifndef DORNIMAGE_PLATFORM_BITMAPRECORDS_H
#define DORNIMAGE_PLATFORM_BITMAPRECORDS_H

#include "platform/Types.h"

/* The published records of device-independent bitmaps and palettes: the system's own on Windows. Elsewhere
   FreeImage.h declares four of them itself, unless the macro below tells it that somebody else has: the two
   headers go together in either order. */
#ifndef _WIN32

#ifndef _WINDOWS_
#define _WINDOWS_

#include <cinttypes>
#include <cstdio>

/* Numbers of 64 bits, which FreeImage.h leaves to who declares its records. */
typedef int64_t INT64;
typedef uint64_t UINT64;

/* A colour of a palette. */
typedef struct tagRGBQUAD {
    BYTE rgbBlue;     /* 0 to 255 */
    BYTE rgbGreen;    /* 0 to 255 */
    BYTE rgbRed;      /* 0 to 255 */
    BYTE rgbReserved; /* 0 */
} RGBQUAD;

/* A pixel of 24 bits. */
typedef struct tagRGBTRIPLE {
    BYTE rgbtBlue;  /* 0 to 255 */
    BYTE rgbtGreen; /* 0 to 255 */
    BYTE rgbtRed;   /* 0 to 255 */
} RGBTRIPLE;

/* What a bitmap is, in the common form. */
typedef struct tagBITMAPINFOHEADER {
    DWORD biSize;         /* bytes of this record */
    LONG biWidth;         /* pixels across */
    LONG biHeight;        /* lines; above 0 bottom-up, below 0 top-down */
    WORD biPlanes;        /* 1 */
    WORD biBitCount;      /* bits a pixel */
    DWORD biCompression;  /* BI_RGB, BI_BITFIELDS or another coding */
    DWORD biSizeImage;    /* bytes of the pixels; may be 0 for BI_RGB */
    LONG biXPelsPerMeter; /* dots per metre across */
    LONG biYPelsPerMeter; /* dots per metre down */
    DWORD biClrUsed;      /* entries in the palette; 0 for as many as the depth has */
    DWORD biClrImportant; /* entries that matter; 0 for all */
} BITMAPINFOHEADER, *PBITMAPINFOHEADER;

/* A header with its palette. */
typedef struct tagBITMAPINFO {
    BITMAPINFOHEADER bmiHeader; /* what the bitmap is */
    RGBQUAD bmiColors[1];       /* the first entry of the palette; the others follow */
} BITMAPINFO, *PBITMAPINFO;

#endif

/* The oldest form of the header; palettes have entries of 3 bytes. */
struct BITMAPCOREHEADER {
    DWORD bcSize;    /* bytes of this record */
    WORD bcWidth;    /* pixels across */
    WORD bcHeight;   /* lines, bottom-up */
    WORD bcPlanes;   /* 1 */
    WORD bcBitCount; /* bits a pixel */
};

/* The start of a BMP file. */
#pragma pack(push, 2)
struct BITMAPFILEHEADER {
    WORD bfType;      /* the letters "BM" */
    DWORD bfSize;     /* bytes of the file */
    WORD bfReserved1; /* 0 */
    WORD bfReserved2; /* 0 */
    DWORD bfOffBits;  /* offset of the pixels from the start of the file */
};
#pragma pack(pop)

/* A colour independent of devices. */
struct CIEXYZ {
    LONG ciexyzX; /* 2.30 fixed point */
    LONG ciexyzY; /* the same */
    LONG ciexyzZ; /* the same */
};

/* Three such colours. */
struct CIEXYZTRIPLE {
    CIEXYZ ciexyzRed;   /* red */
    CIEXYZ ciexyzGreen; /* green */
    CIEXYZ ciexyzBlue;  /* blue */
};

/* The header with masks and a colour space. */
struct BITMAPV4HEADER {
    DWORD bV4Size;             /* bytes of this record */
    LONG bV4Width;             /* pixels across */
    LONG bV4Height;            /* lines; above 0 bottom-up, below 0 top-down */
    WORD bV4Planes;            /* 1 */
    WORD bV4BitCount;          /* bits a pixel */
    DWORD bV4V4Compression;    /* BI_RGB, BI_BITFIELDS or another coding */
    DWORD bV4SizeImage;        /* bytes of the pixels; may be 0 for BI_RGB */
    LONG bV4XPelsPerMeter;     /* dots per metre across */
    LONG bV4YPelsPerMeter;     /* dots per metre down */
    DWORD bV4ClrUsed;          /* entries in the palette; 0 for as many as the depth has */
    DWORD bV4ClrImportant;     /* entries that matter; 0 for all */
    DWORD bV4RedMask;          /* bits of red with BI_BITFIELDS */
    DWORD bV4GreenMask;        /* bits of green */
    DWORD bV4BlueMask;         /* bits of blue */
    DWORD bV4AlphaMask;        /* bits of opacity */
    DWORD bV4CSType;           /* kind of colour space */
    CIEXYZTRIPLE bV4Endpoints; /* the three primary colours */
    DWORD bV4GammaRed;         /* tone curve, 16.16 fixed point */
    DWORD bV4GammaGreen;       /* the same for green */
    DWORD bV4GammaBlue;        /* the same for blue */
};

/* The header with a colour profile too. */
struct BITMAPV5HEADER {
    DWORD bV5Size;             /* bytes of this record */
    LONG bV5Width;             /* pixels across */
    LONG bV5Height;            /* lines; above 0 bottom-up, below 0 top-down */
    WORD bV5Planes;            /* 1 */
    WORD bV5BitCount;          /* bits a pixel */
    DWORD bV5Compression;      /* BI_RGB, BI_BITFIELDS or another coding */
    DWORD bV5SizeImage;        /* bytes of the pixels; may be 0 for BI_RGB */
    LONG bV5XPelsPerMeter;     /* dots per metre across */
    LONG bV5YPelsPerMeter;     /* dots per metre down */
    DWORD bV5ClrUsed;          /* entries in the palette; 0 for as many as the depth has */
    DWORD bV5ClrImportant;     /* entries that matter; 0 for all */
    DWORD bV5RedMask;          /* bits of red with BI_BITFIELDS */
    DWORD bV5GreenMask;        /* bits of green */
    DWORD bV5BlueMask;         /* bits of blue */
    DWORD bV5AlphaMask;        /* bits of opacity */
    DWORD bV5CSType;           /* kind of colour space */
    CIEXYZTRIPLE bV5Endpoints; /* the three primary colours */
    DWORD bV5GammaRed;         /* tone curve, 16.16 fixed point */
    DWORD bV5GammaGreen;       /* the same for green */
    DWORD bV5GammaBlue;        /* the same for blue */
    DWORD bV5Intent;           /* what to keep when colours are converted */
    DWORD bV5ProfileData;      /* offset of the colour profile from the header's start */
    DWORD bV5ProfileSize;      /* bytes of the colour profile */
    DWORD bV5Reserved;         /* 0 */
};

/* What GetObjectW tells of a bitmap. */
struct BITMAP {
    LONG bmType;       /* 0 */
    LONG bmWidth;      /* pixels across */
    LONG bmHeight;     /* lines */
    LONG bmWidthBytes; /* bytes between lines */
    WORD bmPlanes;     /* 1 */
    WORD bmBitsPixel;  /* bits a pixel */
    void* bmBits;      /* the first line in memory, or null */
};

/* A colour of a palette of the drawing layer. */
struct PALETTEENTRY {
    BYTE peRed;   /* 0 to 255 */
    BYTE peGreen; /* 0 to 255 */
    BYTE peBlue;  /* 0 to 255 */
    BYTE peFlags; /* 0 */
};

/* A palette of the drawing layer. */
struct LOGPALETTE {
    WORD palVersion;             /* 0x300 */
    WORD palNumEntries;          /* entries in palPalEntry */
    PALETTEENTRY palPalEntry[1]; /* the first entry; the others follow */
};

/* biCompression: rows as they stand; the same with three colour masks behind the header. */
constexpr DWORD BI_RGB = 0;
constexpr DWORD BI_BITFIELDS = 3;

#endif

#endif
