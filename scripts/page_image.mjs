// Makes the picture of the page for the README, with the demo's rabbit: npm run docs:images
import { binaryStl } from '../packages/cli/test/meshes.mjs';
import { rabbit } from '../packages/web/test/rabbit.mjs';
import { writePagePicture } from './page_picture.mjs';

await writePagePicture('packages/web/dist/stiltforge.html', 'page', async (page) => {
  page.setDefaultTimeout(300_000);
  await page.getByText('Units, axis, place').click();
  await page.getByLabel('Up in the file').selectOption('y');
  await page.getByLabel('Height', { exact: true }).fill('60');
  await page.locator('input[type=file]').setInputFiles({
    name: 'rabbit.stl',
    mimeType: 'model/stl',
    buffer: binaryStl(rabbit()),
  });
  await page.getByRole('heading', { name: 'rabbit.stl', level: 1 }).waitFor();
  // The whole part, not cut.
  for (const key of ['c', '1']) await page.keyboard.press(key);
});
