import '../../viewer/page/style.css';
import './style.css';
import { ThemeChoice } from '../../viewer/page/theme.js';
import { App } from './app.js';

const root = document.getElementById('page') ?? document.body;
if (typeof DecompressionStream === 'undefined' || typeof WebAssembly === 'undefined') {
  root.textContent = 'This browser is too old for this page: it needs one of 2023 or later.';
} else {
  new App(root, new ThemeChoice(document.documentElement));
}
