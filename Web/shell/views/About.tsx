export default function About() {
  return null;
}
