#include <morvik/morvik.h>
#include <stdio.h>

int main(void) {
  int32_t face[2 * 106] = {0}, forehead[2 * 11];
  mvk_read_landmarks(face, 106, "samples/hopper_landmarks106.txt", 0, 2, ',');
  if (mvk_guess_forehead_landmarks(forehead, face, 106, 512, 600) != MVK_OK) return 1;
  for (int i = 0; i < 11; ++i) printf("%d,%d\n", forehead[2 * i], forehead[2 * i + 1]);
  return 0;
}
