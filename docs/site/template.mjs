// A page of the site around its text.
const escaped = (text) =>
  text.replaceAll('&', '&amp;').replaceAll('<', '&lt;').replaceAll('"', '&quot;');

const navigation = (site, slug) =>
  site
    .map(({ title, pages }) => {
      const items = pages.map((page) => {
        const current = page.slug === slug ? ' aria-current="page"' : '';
        return `<li><a href="${page.slug}.html"${current}>${escaped(page.title)}</a></li>`;
      });
      return `<h2>${escaped(title)}</h2>\n<ul>\n${items.join('\n')}\n</ul>`;
    })
    .join('\n');

function contents(headings) {
  const entries = headings.filter(({ level }) => level === 2 || level === 3);
  if (entries.length < 3) return '';
  const items = entries.map(
    ({ level, title, id }) =>
      `<li class="level-${level}"><a href="#${encodeURIComponent(id)}">${escaped(title)}</a></li>`,
  );
  return `<nav class="contents" aria-label="On this page">
<details open><summary>On this page</summary>
<ul>
${items.join('\n')}
</ul>
</details>
</nav>`;
}

export function htmlPage({ site, page, html, headings }) {
  const title = headings.find(({ level }) => level === 1)?.title ?? page.title;
  return `<!doctype html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<meta name="color-scheme" content="light dark">
<title>${escaped(title === 'stiltforge' ? title : `${title} - stiltforge`)}</title>
<link rel="icon" href="data:,">
<link rel="stylesheet" href="style.css">
<script src="search_index.js" defer></script>
<script src="minisearch.js" defer></script>
<script src="search.js" defer></script>
</head>
<body>
<a class="skip" href="#site-text">Skip to the text</a>
<header>
<a class="name" href="index.html">stiltforge</a>
<form role="search"><input type="search" id="site-search" aria-label="Search" placeholder="Search"
 autocomplete="off"></form>
<a class="to-pages" href="#site-pages">Pages</a>
</header>
<ol id="site-results" hidden></ol>
<div class="columns">
<main id="site-text">
${html}
</main>
${contents(headings)}
<nav id="site-pages" aria-label="Pages">
${navigation(site, page.slug)}
</nav>
</div>
</body>
</html>
`;
}
