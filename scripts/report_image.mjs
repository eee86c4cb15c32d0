// Makes the picture of a report for the README, from the demo's: npm run docs:images
import { writePagePicture } from './page_picture.mjs';

await writePagePicture('out/demo/report.html', 'report', async (page) => {
  // The first point of the layer that is shown, then the whole slice and the whole part.
  for (const key of ['n', '0', '1']) await page.keyboard.press(key);
});
