// Links that somebody else may have put in the way of a file.
#pragma once

// O_NOFOLLOW when others than this user and root can put something at the path, as its folder is theirs or
// may be written by them; 0 when not, and when there is no such folder.
int FollowOwnLinksOnly(const char* path);

// Whether a link stands there that FollowOwnLinksOnly keeps from being followed.
bool IsForeignLink(const char* path);
