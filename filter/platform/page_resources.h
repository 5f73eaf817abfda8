/* The identifiers of the property pages' resources, for the resource compiler as well. */
#pragma once

#define TITLE_BASIC 1
#define TITLE_ADVANCED 2
#define TITLE_ABOUT 3

#define DIALOG_TRACKS 102
#define DIALOG_ABOUT 108
#define BITMAP_LOGO 109
#define CONTROL_LOGO 1040

/* The labels of the track page stand in filter/logic/track_page.h as well. */
#define LABEL_TRACK_COUNT 1027
#define LABEL_TRACK_ID 1028
#define LABEL_MEDIA_TYPE 1029
#define LABEL_SAMPLE_COUNT 1030
#define LABEL_DURATION 1031
#define SPIN_TRACK 1032
#define EDIT_TRACK 1033
#define LABEL_TIME_SCALE 1034
#define LABEL_MOVIE_TIME_SCALE 1035
