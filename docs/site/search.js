// Search over all sections of the site. Everything comes as scripts, so that it works from a disk, too.
const input = document.getElementById('site-search');
const results = document.getElementById('site-results');
const most = 12;
let index;

function open() {
  index ??= globalThis.MiniSearch.loadJSON(globalThis.searchIndex, globalThis.searchOptions);
  return index;
}

input.addEventListener('input', () => {
  const words = input.value.trim();
  const found = words === '' ? [] : open().search(words, { prefix: true, fuzzy: 0.15 });
  results.hidden = words === '';
  results.replaceChildren(
    ...(found.length > 0 ? found.slice(0, most).map(itemOf) : [nothingFor(words)]),
  );
});

function itemOf({ id, title, page }) {
  const item = document.createElement('li');
  const link = document.createElement('a');
  link.href = id;
  link.textContent = title;
  const place = document.createElement('span');
  place.textContent = page === title ? '' : ` ${page}`;
  item.append(link, place);
  return item;
}

function nothingFor(words) {
  const item = document.createElement('li');
  item.textContent = `Nothing is found for ${words}.`;
  return item;
}

input.form.addEventListener('submit', (event) => {
  event.preventDefault();
  results.querySelector('a')?.click();
});

results.addEventListener('click', () => {
  results.hidden = true;
});

addEventListener('keydown', ({ key, target }) => {
  if (key === 'Escape') results.hidden = true;
  else if (key === '/' && target.localName !== 'input') setTimeout(() => input.focus());
});
